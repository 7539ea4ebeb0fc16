// How well outputs are found in recordings of virtual rooms, each of which its seed tells: where an answer is
// given it is right, however noisy it is and however far the microphone is away.
#include "Benchmarks/FigureTable.h"
#include "Simulation/VirtualRoom.h"
#include "VeltoCore/Sync/AlignmentAnalysis.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <random>
#include <vector>

namespace velto {
namespace {

using Sweep = AlignmentProbe::Sweep;

constexpr std::array noiseRatios{20.0, 0.0, -6.0, -12.0, -18.0};
constexpr std::array roomRatios{12.0, 0.0, -6.0};
constexpr std::uint64_t roomsOfAKind = 16;
constexpr double wrong = 0.3;

struct Outcome {
    int refused = 0;
    double worst = 0;
};

/// A room of that seed, in which the quieter output is that far above the noise and the reverberation.
VirtualRoom room(std::uint64_t seed, double toNoise, double toReverberation, const AlignmentProbe& probe) {
    std::mt19937_64 random(seed);
    const auto between = [&](double from, double to) {
        return from + (to - from) * static_cast<double>(random() >> 11) * 0x1p-53;
    };
    VirtualRoom result;
    result.seed = seed;
    const double quieter = std::pow(10, between(-15, 5) / 20);
    for (auto& output : result.outputs)
        output.milliseconds = between(0, 500);
    if (seed % 5 == 0) result.outputs[1].milliseconds = result.outputs[0].milliseconds;
    result.outputs[seed % 2].gain = quieter;
    result.reverberationSeconds = between(0.3, 1);
    result.directToReverberant = toReverberation;
    result.noise = std::min(quieter, 1.0) * probe.peak / std::sqrt(2.0) * std::pow(10, -toNoise / 20);
    result.ceiling = 100;
    return result;
}

/// In milliseconds; adds what it took.
void measure(const VirtualRoom& room, const AlignmentProbe& probe, Outcome& outcome,
             std::vector<double>& durations) {
    const auto recording = room.recording({probe.samples(Sweep::rising), probe.samples(Sweep::falling)},
                                          probe.sampleRate, static_cast<std::size_t>(2.5 * probe.sampleRate));
    const auto start = std::chrono::steady_clock::now();
    const auto found = alignment(probe, recording);
    const std::chrono::duration<double, std::milli> duration = std::chrono::steady_clock::now() - start;
    if (probe.sampleRate == 48000) durations.push_back(duration.count());
    if (!found) {
        ++outcome.refused;
        return;
    }
    const double error =
        std::abs(found->milliseconds() - (room.outputs[1].milliseconds - room.outputs[0].milliseconds));
    if (error > 0.05)
        std::printf("seed %llu: %.3f ms off\n", static_cast<unsigned long long>(room.seed), error);
    outcome.worst = std::max(outcome.worst, error);
}

void measureAll(FigureTable& table) {
    constexpr std::array rates{48000.0, 44100.0, 48000.0, 96000.0};
    std::vector<double> durations;
    std::uint64_t seed = 1;
    for (const double toNoise : noiseRatios)
        for (const double toReverberation : roomRatios) {
            Outcome outcome;
            const std::uint64_t first = seed;
            for (; seed < first + roomsOfAKind; ++seed) {
                const AlignmentProbe probe{.sampleRate = rates[seed % rates.size()]};
                measure(room(seed, toNoise, toReverberation, probe), probe, outcome, durations);
            }
            const double limit = toNoise >= 0 ? 0.05 : wrong;
            table.add(
                text("noise %+.0f dB, reverberation %+.0f dB", 0 - toNoise, 0 - toReverberation).c_str(),
                text("%.4f ms at worst, %d refused, seeds %d to %d", outcome.worst, outcome.refused,
                     static_cast<int>(first), static_cast<int>(seed - 1)),
                text("%.2f ms wherever answered", limit), outcome.worst <= limit);
        }
    const double typical = median(durations);
    table.add("analysis of 2.5 s at 48,000 Hz", text("%.0f ms", typical), "200 ms", typical <= 200);
}

} // namespace
} // namespace velto

int main() {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    velto::FigureTable table;
    velto::measureAll(table);
    return table.isEveryFigureWithin() ? 0 : 1;
}
