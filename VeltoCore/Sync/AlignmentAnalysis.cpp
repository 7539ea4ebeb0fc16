#include "VeltoCore/Sync/AlignmentAnalysis.h"

#include "VeltoCore/Sync/SweepFinder.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace velto {

namespace {

using Sweep = AlignmentProbe::Sweep;

/// Root mean square, of full scale: below, what could not be found was not loud enough.
constexpr double quietest = 0.001;
/// The share of samples at the ceiling from which on a recording is overdriven.
constexpr double mostAtCeiling = 0.002;
/// Noise alone is never that far above its median.
constexpr double leastClarity = 7;
/// Below this, a direct sound five times lower than its reflection could hide in the noise.
constexpr double leastCertainty = 25;
constexpr double mostPartsDiffer = 0.15;
constexpr double mostMeasurementsDiffer = 1;

double level(std::span<const float> recording) {
    double energy = 0;
    for (const float sample : recording)
        energy += static_cast<double>(sample) * static_cast<double>(sample);
    return std::sqrt(energy / static_cast<double>(recording.size()));
}

/// An overdriven recording stays at its highest for a while, wherever that is; a sound only touches it.
bool isClipped(std::span<const float> recording) {
    float ceiling = 0;
    for (const float sample : recording)
        ceiling = std::max(ceiling, std::abs(sample));
    const auto isAtCeiling = [&](float sample) { return std::abs(sample) >= ceiling * 0.99999F; };
    std::size_t count = 0;
    std::size_t row = 0;
    for (const float sample : recording) {
        row = isAtCeiling(sample) ? row + 1 : 0;
        count += row == 3 ? 3 : row > 3 ? 1 : 0;
    }
    return static_cast<double>(count) > mostAtCeiling * static_cast<double>(recording.size());
}

struct Findings {
    SweepFinder::Finding rising;
    SweepFinder::Finding falling;
};

/// The louder is taken away first: it hides more of the other than the other of it.
Findings findings(SweepFinder& finder) {
    const bool isRisingLouder = finder.find(Sweep::rising).height > finder.find(Sweep::falling).height;
    const Sweep louder = isRisingLouder ? Sweep::rising : Sweep::falling;
    const Sweep quieter = isRisingLouder ? Sweep::falling : Sweep::rising;
    finder.takeAway(louder);
    const auto ofQuieter = finder.takeAway(quieter);
    const auto ofLouder = finder.find(louder);
    return isRisingLouder ? Findings{ofLouder, ofQuieter} : Findings{ofQuieter, ofLouder};
}

/// As a sweep's parts are heard one after the other, missing samples are missing between them.
bool doPartsAgree(SweepFinder& finder, Sweep sweep, double frame, double sampleRate) {
    const std::array halves{finder.find(sweep, 0, 0.5), finder.find(sweep, 0.5, 1)};
    return std::ranges::all_of(halves, [&](const auto& half) {
        return std::abs(half.frame - frame) / sampleRate * 1000 <= mostPartsDiffer;
    });
}

} // namespace

std::expected<AlignmentMeasurement, AlignmentRefusal> alignment(const AlignmentProbe& probe,
                                                                std::span<const float> recording) {
    using enum AlignmentRefusal;
    const auto isNumber = [](float sample) { return std::isfinite(sample); };
    if (recording.size() < probe.frames() || !std::ranges::all_of(recording, isNumber))
        return std::unexpected(interrupted);
    const double heard = level(recording);
    if (heard == 0) return std::unexpected(tooQuiet);
    if (isClipped(recording)) return std::unexpected(clipped);

    SweepFinder finder(probe, recording);
    const auto [rising, falling] = findings(finder);
    const double clearest = std::max(rising.clarity, falling.clarity);
    const double leastClear = std::min(rising.clarity, falling.clarity);
    if (clearest >= leastClarity && (rising.isCutOff || falling.isCutOff))
        return std::unexpected(interrupted);
    if (clearest < leastCertainty) return std::unexpected(heard < quietest ? tooQuiet : tooNoisy);
    if (leastClear < leastCertainty)
        return std::unexpected(rising.clarity < falling.clarity ? risingNotHeard : fallingNotHeard);
    if (!doPartsAgree(finder, Sweep::rising, rising.frame, probe.sampleRate) ||
        !doPartsAgree(finder, Sweep::falling, falling.frame, probe.sampleRate))
        return std::unexpected(unclear);
    const double milliseconds = 1000 / probe.sampleRate;
    return AlignmentMeasurement{{rising.frame * milliseconds, rising.clarity},
                                {falling.frame * milliseconds, falling.clarity}};
}

std::expected<double, AlignmentRefusal>
remainder(const AlignmentMeasurement& first, const AlignmentMeasurement& second, double addedMilliseconds) {
    const double remaining = second.milliseconds();
    if (!(std::abs(remaining - (first.milliseconds() + addedMilliseconds)) <= mostMeasurementsDiffer))
        return std::unexpected(AlignmentRefusal::implausible);
    return remaining;
}

} // namespace velto
