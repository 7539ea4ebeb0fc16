#include "VeltoCore/Sync/AlignmentProbe.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace velto {

namespace {

constexpr double fadeSeconds = 0.02;

} // namespace

std::size_t AlignmentProbe::frames() const noexcept {
    return static_cast<std::size_t>(std::llround(sampleRate * seconds));
}

double AlignmentProbe::highestPlayed() const noexcept { return std::min(highest, 0.45 * sampleRate); }

float AlignmentProbe::sample(Sweep sweep, std::size_t frame) const noexcept {
    if (frame >= frames()) return 0;
    const std::size_t risingFrame = sweep == Sweep::rising ? frame : frames() - 1 - frame;
    const double time = static_cast<double>(risingFrame) / sampleRate;
    const double phase =
        2 * std::numbers::pi * (lowest + (highestPlayed() - lowest) * time / seconds / 2) * time;
    const double toTheNearerEnd = std::min(time, seconds - 1 / sampleRate - time);
    const double fade =
        toTheNearerEnd < fadeSeconds
            ? (1 - std::cos(std::numbers::pi * std::max(toTheNearerEnd, 0.0) / fadeSeconds)) / 2
            : 1;
    return static_cast<float>(peak * fade * std::sin(phase));
}

std::vector<float> AlignmentProbe::samples(Sweep sweep) const {
    std::vector<float> result(frames());
    for (std::size_t frame = 0; frame < result.size(); ++frame)
        result[frame] = sample(sweep, frame);
    return result;
}

} // namespace velto
