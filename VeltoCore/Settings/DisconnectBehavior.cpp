#include "VeltoCore/Settings/DisconnectBehavior.h"

#include <algorithm>

namespace velto {

namespace {

struct Row {
    DisconnectBehavior behavior;
    std::string_view rawValue;
    std::string_view title;
};

constexpr std::array<Row, allDisconnectBehaviors.size()> rows{{
    {DisconnectBehavior::keepPlaying, "keepPlaying", "Keep playing on remaining outputs"},
    {DisconnectBehavior::pauseGroup, "pauseGroup", "Stop playing together"},
    {DisconnectBehavior::askUser, "askUser", "Ask me"},
}};

constexpr const Row& rowOf(DisconnectBehavior behavior) { return rows[static_cast<std::size_t>(behavior)]; }

static_assert(std::ranges::equal(rows, allDisconnectBehaviors, {}, &Row::behavior),
              "rows stand in the order of the cases");

} // namespace

std::string_view rawValue(DisconnectBehavior behavior) noexcept { return rowOf(behavior).rawValue; }

std::optional<DisconnectBehavior> disconnectBehavior(std::string_view rawValue) noexcept {
    const auto row = std::ranges::find(rows, rawValue, &Row::rawValue);
    return row == rows.end() ? std::nullopt : std::optional(row->behavior);
}

std::string_view title(DisconnectBehavior behavior) noexcept { return rowOf(behavior).title; }

} // namespace velto
