// ClockStrategy: the user's setting for which output drives an aggregate's clock.
#pragma once

#include "VeltoCore/Services/PlatformWords.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace velto {

enum class ClockStrategy { automatic, firstSelected, builtInPreferred, lowestLatency };

/// In the order in which they are offered.
inline constexpr std::array allClockStrategies{ClockStrategy::automatic, ClockStrategy::firstSelected,
                                               ClockStrategy::builtInPreferred, ClockStrategy::lowestLatency};

/// The stored form, which is also the identity.
std::string_view rawValue(ClockStrategy strategy) noexcept;
/// None for any other text; letter case counts.
std::optional<ClockStrategy> clockStrategy(std::string_view rawValue) noexcept;

std::string_view title(ClockStrategy strategy) noexcept;
/// What the choice means here, one sentence for the user.
std::string explanation(ClockStrategy strategy, const PlatformWords& words);

} // namespace velto
