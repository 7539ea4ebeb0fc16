#include "VeltoCore/Sync/SweepFinder.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <functional>
#include <numbers>

namespace velto {

namespace {

/// A direct sound may be that much lower than its loudest reflection.
constexpr double lowestDirectSound = 0.2;
/// Nothing but noise is ever that far above its own median.
constexpr double highestNoise = 5;
/// The least pulse that is surely of its own sweep, against the highest: below, what is left of the other may
/// be.
constexpr double lowestOwnSound = 0.05;
constexpr double lowestOwnOverMedian = 4;

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::ranges::nth_element(values, middle);
    return *middle;
}

/// Where the top of a pulse is between its neighbours.
double top(std::span<const double> pulses, std::size_t highest) {
    if (highest == 0 || highest + 1 >= pulses.size()) return static_cast<double>(highest);
    // A pulse is a bell, and the logarithm of that is a parabola.
    constexpr double smallest = 1e-300;
    const double before = std::log(pulses[highest - 1] + smallest);
    const double at = std::log(pulses[highest] + smallest);
    const double after = std::log(pulses[highest + 1] + smallest);
    const double curvature = before - 2 * at + after;
    const double shift = curvature < 0 ? (before - after) / curvature / 2 : 0;
    return static_cast<double>(highest) + std::clamp(shift, -0.5, 0.5);
}

double firstPulse(std::span<const double> pulses, double threshold) {
    for (std::size_t i = 0; i < pulses.size(); ++i) {
        const bool rises = i == 0 || pulses[i] > pulses[i - 1];
        const bool falls = i + 1 == pulses.size() || pulses[i] >= pulses[i + 1];
        if (pulses[i] >= threshold && rises && falls) return top(pulses, i);
    }
    return 0;
}

double meanPower(const FourierTransform::Values& values) {
    double power = 0;
    for (const auto& value : values)
        power += std::norm(value);
    return power / static_cast<double>(values.size());
}

std::size_t index(AlignmentProbe::Sweep sweep) { return static_cast<std::size_t>(sweep); }

} // namespace

SweepFinder::SweepFinder(const AlignmentProbe& probe, std::span<const float> recording)
    : probe_(probe), lastStart_(recording.size() - probe.frames()), size_(std::bit_ceil(recording.size())),
      lowest_(static_cast<std::size_t>(probe.lowest / probe.sampleRate * static_cast<double>(size_))),
      count_(static_cast<std::size_t>(probe.highestPlayed() / probe.sampleRate * static_cast<double>(size_)) -
             lowest_),
      // Half as many again as needed, so that each pulse has neighbours from which its top can be told.
      pulseCount_(std::bit_ceil(count_ * 3 / 2)), transform_(pulseCount_) {
    FourierTransform transform(size_);
    recorded_ = spectrum(transform, recording);
    for (const Sweep sweep : {Sweep::rising, Sweep::falling}) {
        sweeps_[index(sweep)] = spectrum(transform, probe.samples(sweep));
        takenAway_[index(sweep)].resize(count_);
    }
}

SweepFinder::Values SweepFinder::spectrum(FourierTransform& transform, std::span<const float> sound) const {
    Values values(size_);
    std::ranges::copy(sound, values.begin());
    transform.forward(values);
    const auto first = values.begin() + static_cast<std::ptrdiff_t>(lowest_);
    return {first, first + static_cast<std::ptrdiff_t>(count_)};
}

SweepFinder::Finding SweepFinder::find(Sweep sweep, double lowest, double highest) {
    return finding(pulses(response(sweep), lowest, highest));
}

SweepFinder::Finding SweepFinder::takeAway(Sweep sweep) {
    Values values = response(sweep);
    const auto heights = pulses(values, 0, 1);
    const Finding found = finding(heights);
    const double median = found.clarity > 0 ? found.height / found.clarity : 0;
    const double lowest = std::max(lowestOwnOverMedian * median, lowestOwnSound * found.height);

    values.resize(pulseCount_);
    transform_.backward(values);
    for (std::size_t i = 0; i < pulseCount_; ++i)
        values[i] *= heights[i] > lowest * lowest ? 1 / static_cast<double>(pulseCount_) : 0;
    transform_.forward(values);
    std::transform(sweeps_[index(sweep)].begin(), sweeps_[index(sweep)].end(), values.begin(),
                   takenAway_[index(sweep)].begin(), std::multiplies());
    return found;
}

SweepFinder::Values SweepFinder::response(Sweep sweep) const {
    const Values& played = sweeps_[index(sweep)];
    const Values& others = takenAway_[1 - index(sweep)];
    // Where hardly anything was played, nothing can be known.
    const double floor = meanPower(played) / 20;
    Values result(count_);
    for (std::size_t i = 0; i < count_; ++i)
        result[i] = (recorded_[i] - others[i]) * std::conj(played[i]) / (std::norm(played[i]) + floor);
    return result;
}

std::vector<double> SweepFinder::pulses(Values response, double lowest, double highest) {
    for (std::size_t i = 0; i < count_; ++i) {
        const double place =
            ((static_cast<double>(i) + 0.5) / static_cast<double>(count_) - lowest) / (highest - lowest);
        // Soft edges: a pulse of hard ones would have others around it, which look like sounds that came
        // earlier.
        const bool isInside = place > 0 && place < 1;
        response[i] *= isInside ? (1 - std::cos(2 * std::numbers::pi * place)) / 2 : 0;
    }
    response.resize(pulseCount_);
    transform_.backward(response);
    std::vector<double> result(pulseCount_);
    std::ranges::transform(response, result.begin(), [](const auto& value) { return std::norm(value); });
    return result;
}

SweepFinder::Finding SweepFinder::finding(const std::vector<double>& pulses) const {
    const double framesPerPulse = static_cast<double>(size_) / static_cast<double>(pulseCount_);
    const std::span searched(pulses.data(),
                             static_cast<std::size_t>(static_cast<double>(lastStart_) / framesPerPulse) + 1);
    const double highest = std::ranges::max(searched);
    const double middle = median({searched.begin(), searched.end()});
    const double threshold =
        std::max(std::pow(lowestDirectSound, 2) * highest, std::pow(highestNoise, 2) * middle);
    return {.frame = firstPulse(searched, std::min(threshold, highest)) * framesPerPulse,
            .height = std::sqrt(highest),
            .clarity = middle > 0 ? std::sqrt(highest / middle) : 0,
            .isCutOff = std::ranges::max(pulses) > highest};
}

} // namespace velto
