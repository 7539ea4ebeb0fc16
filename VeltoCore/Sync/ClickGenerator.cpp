#include "VeltoCore/Sync/ClickGenerator.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace velto {

namespace {

constexpr double clickSeconds = 0.012;
constexpr double angularFactor = 6283.185307179586; // 2π × 1000 Hz
constexpr double decayPerSecond = 400.0;

/// Truncated toward zero.
std::int64_t wholeFrames(double frames) {
    constexpr double limit = 9223372036854775808.0; // 2⁶³
    if (!(frames > -limit && frames < limit))
        throw std::out_of_range("A time is too long to count its frames");
    return static_cast<std::int64_t>(frames);
}

} // namespace

ClickGenerator::ClickGenerator(double sampleRate, double interval, float gain)
    : sampleRate_(sampleRate), intervalFrames_(std::max<std::int64_t>(1, wholeFrames(sampleRate * interval))),
      clickFrames_(wholeFrames(sampleRate * clickSeconds)), gain_(gain) {}

OSStatus ClickGenerator::render(std::uint32_t frameCount, std::span<float* const> bufferList) noexcept {
    for (std::uint32_t i = 0; i < frameCount; ++i, ++position_) {
        const std::int64_t frame = position_ % intervalFrames_;
        float sample = 0;
        if (frame < clickFrames_) {
            const double time = static_cast<double>(frame) / sampleRate_;
            sample =
                static_cast<float>(gain_ * std::sin(time * angularFactor) * std::exp(time * -decayPerSecond));
        }
        for (float* buffer : bufferList) {
            if (buffer) buffer[i] = sample;
        }
    }
    return noErr;
}

} // namespace velto
