// PreferredSampleRate: the user's setting for the rate at which outputs play together.
#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace velto {

enum class PreferredSampleRate { automatic, rate44100, rate48000, rate96000 };

/// In the order in which they are offered.
inline constexpr std::array allPreferredSampleRates{
    PreferredSampleRate::automatic, PreferredSampleRate::rate44100, PreferredSampleRate::rate48000,
    PreferredSampleRate::rate96000};

/// The stored form, in Hz; 0 for automatic.
double rawValue(PreferredSampleRate rate) noexcept;
/// None for a number that is not exactly one of the raw values.
std::optional<PreferredSampleRate> preferredSampleRate(double rawValue) noexcept;

std::string_view title(PreferredSampleRate rate) noexcept;
/// The rate to ask the resolver for, in Hz; none for automatic.
std::optional<double> resolverValue(PreferredSampleRate rate) noexcept;

} // namespace velto
