// Sound: samples of two channels, and what counts as sound or silence.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace velto::judge {

/// The one rate of every file, in Hz.
constexpr std::int64_t sampleRate = 48000;
/// What lies below is silence, in dBFS.
constexpr double silentLevel = -80;
/// The normalised correlation with the source from which on something is a copy of it.
constexpr double soundCorrelation = 0.95;

struct Frame {
    float left = 0;
    float right = 0;
    friend bool operator==(const Frame&, const Frame&) = default;
};
using Frames = std::span<const Frame>;

/// Samples of a recording; the end is not one of them.
struct SampleRange {
    std::int64_t begin = 0;
    std::int64_t end = 0;

    std::int64_t count() const { return end - begin; }
    Frames of(Frames recording) const {
        return recording.subspan(static_cast<std::size_t>(begin), static_cast<std::size_t>(count()));
    }
    friend bool operator==(const SampleRange&, const SampleRange&) = default;
};

/// The sample at a time, in seconds.
std::int64_t sampleAt(double time);
double secondsAt(std::int64_t sample);

/// The root mean square over both channels, in dBFS; -200 for digital silence.
double levelOf(Frames frames);

/// Reads a WAV file of two channels; throws UnusableInput for any other.
std::vector<Frame> readSound(const std::string& file);

} // namespace velto::judge
