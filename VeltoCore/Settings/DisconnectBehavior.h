// DisconnectBehavior: the user's setting for what happens when one output disappears during a session.
#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace velto {

enum class DisconnectBehavior { keepPlaying, pauseGroup, askUser };

/// In the order in which they are offered.
inline constexpr std::array allDisconnectBehaviors{
    DisconnectBehavior::keepPlaying, DisconnectBehavior::pauseGroup, DisconnectBehavior::askUser};

/// The stored form, which is also the identity.
std::string_view rawValue(DisconnectBehavior behavior) noexcept;
/// None for any other text; letter case counts.
std::optional<DisconnectBehavior> disconnectBehavior(std::string_view rawValue) noexcept;

std::string_view title(DisconnectBehavior behavior) noexcept;

} // namespace velto
