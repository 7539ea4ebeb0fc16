// SampleRateResolver: the sample rate at which a group of outputs can play together.
//
// Pure functions over the rates that devices report. Ranges that make no sense (reversed, not a number) offer
// nothing; a result is always a finite rate above 0.
#pragma once

#include "VeltoCore/CoreAudio/AudioOutputDevice.h"

#include <array>
#include <optional>
#include <vector>

namespace velto {

/// What one device can run at.
using SampleRateRanges = std::vector<SampleRateRange>;

struct SampleRateResolver {
    SampleRateResolver() = delete;

    /// Tried in this order when the preferred rate can't be had, in Hz.
    static constexpr std::array<double, 11> preferredRates{48000, 44100, 96000, 88200, 192000, 176400,
                                                           32000, 24000, 22050, 16000, 8000};

    static bool supports(const SampleRateRanges& ranges, double rate) noexcept;

    /// The preferred rate if both support it, else the first of `preferredRates` that both support, else the
    /// highest rate that they share; none when they share nothing.
    static std::optional<double> resolve(const SampleRateRanges& first, const SampleRateRanges& second,
                                         std::optional<double> preferred);

    /// For any number of outputs. The first two fix the rate and each further one must support exactly that:
    /// a later output never moves it.
    static std::optional<double> resolve(const std::vector<SampleRateRanges>& all,
                                         std::optional<double> preferred);
};

} // namespace velto
