#include "VeltoCore/Aggregate/PreferredSampleRate.h"

#include <algorithm>

namespace velto {

namespace {

struct Row {
    PreferredSampleRate rate;
    double rawValue;
    std::string_view title;
};

constexpr std::array<Row, allPreferredSampleRates.size()> rows{{
    {PreferredSampleRate::automatic, 0.0, "Automatic"},
    {PreferredSampleRate::rate44100, 44100.0, "44.1 kHz"},
    {PreferredSampleRate::rate48000, 48000.0, "48 kHz"},
    {PreferredSampleRate::rate96000, 96000.0, "96 kHz"},
}};

constexpr const Row& rowOf(PreferredSampleRate rate) { return rows[static_cast<std::size_t>(rate)]; }

static_assert(std::ranges::equal(rows, allPreferredSampleRates, {}, &Row::rate),
              "rows stand in the order of the cases");

} // namespace

double rawValue(PreferredSampleRate rate) noexcept { return rowOf(rate).rawValue; }

std::optional<PreferredSampleRate> preferredSampleRate(double rawValue) noexcept {
    const auto row = std::ranges::find(rows, rawValue, &Row::rawValue);
    return row == rows.end() ? std::nullopt : std::optional(row->rate);
}

std::string_view title(PreferredSampleRate rate) noexcept { return rowOf(rate).title; }

std::optional<double> resolverValue(PreferredSampleRate rate) noexcept {
    return rate == PreferredSampleRate::automatic ? std::nullopt : std::optional(rawValue(rate));
}

} // namespace velto
