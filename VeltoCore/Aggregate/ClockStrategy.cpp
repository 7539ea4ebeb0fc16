#include "VeltoCore/Aggregate/ClockStrategy.h"

#include <fmt/format.h>

#include <algorithm>

namespace velto {

namespace {

struct Row {
    ClockStrategy strategy;
    std::string_view rawValue;
    std::string_view title;
    std::string_view explanation;
};

constexpr std::array<Row, allClockStrategies.size()> rows{{
    {ClockStrategy::automatic, "automatic", "Automatic",
     "Velto picks a wired or built-in output as the time base when one is available."},
    {ClockStrategy::firstSelected, "firstSelected", "First selected output",
     "The first output you choose drives the clock; the others are drift corrected."},
    {ClockStrategy::builtInPreferred, "builtInPreferred", "Prefer built-in speakers",
     "{} drives the clock whenever it is part of the group."},
    {ClockStrategy::lowestLatency, "lowestLatency", "Lowest latency output",
     "The output with the smallest reported latency drives the clock."},
}};

constexpr const Row& rowOf(ClockStrategy strategy) { return rows[static_cast<std::size_t>(strategy)]; }

static_assert(std::ranges::equal(rows, allClockStrategies, {}, &Row::strategy),
              "rows stand in the order of the cases");

} // namespace

std::string_view rawValue(ClockStrategy strategy) noexcept { return rowOf(strategy).rawValue; }

std::optional<ClockStrategy> clockStrategy(std::string_view rawValue) noexcept {
    const auto row = std::ranges::find(rows, rawValue, &Row::rawValue);
    return row == rows.end() ? std::nullopt : std::optional(row->strategy);
}

std::string_view title(ClockStrategy strategy) noexcept { return rowOf(strategy).title; }

std::string explanation(ClockStrategy strategy, const PlatformWords& words) {
    return fmt::format(fmt::runtime(rowOf(strategy).explanation), words.builtInOutput);
}

} // namespace velto
