#include "Simulation/VirtualRoom.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

namespace velto {

namespace {

using Random = std::mt19937_64;

/// Standard libraries differ in how they draw from a distribution; a seed is to be the same room everywhere.
double uniform(Random& random) { return static_cast<double>(random() >> 11) * 0x1p-53; }
double normal(Random& random) {
    const double radius = std::sqrt(-2 * std::log(1 - uniform(random)));
    return radius * std::cos(2 * std::numbers::pi * uniform(random));
}

/// A sound that is some frames and a part of one later.
void addDelayed(std::vector<VirtualRoom::Path>& paths, double frames, double gain) {
    constexpr int reach = 32;
    const auto nearest = static_cast<std::int64_t>(std::llround(frames));
    if (std::abs(frames - static_cast<double>(nearest)) < 1e-9) {
        paths.push_back({static_cast<std::size_t>(nearest), gain});
        return;
    }
    for (std::int64_t frame = std::max<std::int64_t>(0, nearest - reach); frame <= nearest + reach; ++frame) {
        const double x = std::numbers::pi * (static_cast<double>(frame) - frames);
        const double window = std::pow(std::cos(x / (2 * reach + 2)), 2);
        paths.push_back({static_cast<std::size_t>(frame), gain * window * std::sin(x) / x});
    }
}

void addReverberation(std::vector<VirtualRoom::Path>& paths, const VirtualRoom& room, double first,
                      double gain, double sampleRate, Random& random) {
    constexpr double reflectionsPerSecond = 2000;
    std::vector<VirtualRoom::Path> reflections;
    double energy = 0;
    for (double seconds = 0; seconds < room.reverberationSeconds;
         seconds += 2 * uniform(random) / reflectionsPerSecond) {
        const double height = normal(random) * std::pow(10, -3 * seconds / room.reverberationSeconds);
        // The nearest wall is a foot away.
        reflections.push_back({static_cast<std::size_t>(first + (seconds + 0.0018) * sampleRate), height});
        energy += height * height;
    }
    const double scale = gain * std::pow(10, -room.directToReverberant / 20) / std::sqrt(energy);
    for (const auto& reflection : reflections)
        paths.push_back({reflection.frames, reflection.gain * scale});
}

void addMusic(std::vector<double>& heard, double level, double sampleRate, Random& random) {
    std::vector<double> music(heard.size());
    constexpr double noteSeconds = 0.18;
    for (double start = 0; start * sampleRate < static_cast<double>(music.size()); start += noteSeconds) {
        const double pitch = 110 * std::pow(2, std::floor(36 * uniform(random)) / 12);
        const double drum = uniform(random);
        const auto from = static_cast<std::size_t>(start * sampleRate);
        for (std::size_t frame = from; frame < music.size(); ++frame) {
            const double time = static_cast<double>(frame - from) / sampleRate;
            if (time > 1) break;
            for (int harmonic = 1; harmonic <= 8; ++harmonic)
                music[frame] +=
                    std::exp(-4 * time) * std::sin(2 * std::numbers::pi * pitch * harmonic * time) / harmonic;
            music[frame] += 2 * drum * std::exp(-60 * time) * normal(random);
        }
    }
    double energy = 0;
    for (const double sample : music)
        energy += sample * sample;
    const double scale = level / std::sqrt(energy / static_cast<double>(music.size()));
    for (std::size_t frame = 0; frame < heard.size(); ++frame)
        heard[frame] += scale * music[frame];
}

} // namespace

std::vector<VirtualRoom::Path> VirtualRoom::paths(std::size_t output, double sampleRate) const {
    const Output& from = outputs.at(output);
    Random random(seed * 2 + output);
    std::vector<Path> result;
    const double first = from.milliseconds / 1000 * sampleRate;
    addDelayed(result, first, from.gain);
    if (from.reflectionGain != 0)
        addDelayed(result, first + from.reflectionMilliseconds / 1000 * sampleRate,
                   from.gain * from.reflectionGain);
    if (reverberationSeconds > 0) addReverberation(result, *this, first, from.gain, sampleRate, random);
    return result;
}

std::vector<float> VirtualRoom::recording(std::array<std::span<const float>, 2> played, double sampleRate,
                                          std::size_t frames) const {
    std::vector<double> heard(frames);
    for (std::size_t output = 0; output < played.size(); ++output)
        for (const auto& [delay, gain] : paths(output, sampleRate)) {
            if (delay >= frames) continue;
            const std::size_t count = std::min(played[output].size(), frames - delay);
            for (std::size_t frame = 0; frame < count; ++frame)
                heard[delay + frame] += gain * static_cast<double>(played[output][frame]);
        }
    Random random(~seed);
    if (music > 0) addMusic(heard, music, sampleRate, random);
    std::vector<float> result(frames);
    for (std::size_t frame = 0; frame < frames; ++frame) {
        const double time = static_cast<double>(frame) / sampleRate;
        const double humming = hum * std::numbers::sqrt2 * std::sin(2 * std::numbers::pi * 50 * time);
        result[frame] = static_cast<float>(
            std::clamp(heard[frame] + humming + noise * normal(random), -ceiling, ceiling));
    }
    return result;
}

} // namespace velto
