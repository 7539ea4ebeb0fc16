// ClockStrategy: the user's setting for which output drives an aggregate's clock.
#pragma once

#include <array>
#include <optional>
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
/// What the choice means, one sentence for the user.
std::string_view explanation(ClockStrategy strategy) noexcept;

} // namespace velto
