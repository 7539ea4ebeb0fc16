#include "Tools/Judge/Aligner.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>

namespace velto::judge {

namespace {

/// How many frames make one at the low rate.
constexpr std::int64_t reduction = 4;
/// What the low rate leaves open, in samples either way.
constexpr std::int64_t roughness = 6;
/// Places this near to the best one, relative to it, are looked at closely.
constexpr float nearBest = 0.9f;
constexpr std::size_t mostPlaces = 8;
/// Places closer than this, at the low rate, are one.
constexpr std::int64_t placeWidth = 8;
/// Correlations that differ by less are equally good.
constexpr double equallyGood = 0.001;
/// What arithmetic alone makes of a tie.
constexpr double arithmeticError = 1e-9;

std::vector<Frame> reduced(Frames frames) {
    std::vector<Frame> result(frames.size() / reduction);
    for (std::size_t i = 0; i < result.size(); ++i) {
        for (const Frame& frame : frames.subspan(i * reduction, reduction)) {
            result[i].left += frame.left / reduction;
            result[i].right += frame.right / reduction;
        }
    }
    return result;
}

double energyOf(const Frame& frame) {
    return double{frame.left} * frame.left + double{frame.right} * frame.right;
}

double energyOf(Frames frames) {
    double energy = 0;
    for (const Frame& frame : frames)
        energy += energyOf(frame);
    return energy;
}

double correlationOf(Frames a, Frames b) {
    double product = 0;
    double energyA = 0;
    double energyB = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        product += double{a[i].left} * b[i].left + double{a[i].right} * b[i].right;
        energyA += energyOf(a[i]);
        energyB += energyOf(b[i]);
    }
    const double energy = energyA * energyB;
    return energy > 0 ? product / std::sqrt(energy) : 0;
}

struct Place {
    std::int64_t position;
    float correlation;
};

/// The peaks that are about as high as the highest, best first.
std::vector<Place> peaksOf(const std::vector<float>& correlations) {
    const float best = std::ranges::max(correlations);
    std::vector<Place> peaks;
    for (std::size_t i = 0; best > 0 && i < correlations.size(); ++i) {
        const bool isPeak = (i == 0 || correlations[i] >= correlations[i - 1]) &&
                            (i + 1 == correlations.size() || correlations[i] >= correlations[i + 1]);
        if (isPeak && correlations[i] >= nearBest * best)
            peaks.push_back({static_cast<std::int64_t>(i), correlations[i]});
    }
    std::ranges::sort(peaks, std::greater{}, &Place::correlation);
    std::vector<Place> apart;
    for (const Place& peak : peaks) {
        const bool isNew = std::ranges::none_of(
            apart, [&](const Place& other) { return std::abs(peak.position - other.position) < placeWidth; });
        if (isNew && apart.size() < mostPlaces) apart.push_back(peak);
    }
    return apart;
}

} // namespace

Aligner::Aligner(const Source& source, std::int64_t longestRange)
    : source_(source), rough_(reduced(source.due({0, source.length() + longestRange + reduction}, 0))),
      roughCorrelation_(rough_), roughEnergy_(1, 0) {
    for (const Frame& frame : rough_)
        roughEnergy_.push_back(roughEnergy_.back() + energyOf(frame));
}

std::optional<Alignment> Aligner::align(Frames recording, SampleRange range, std::int64_t expectedLag) const {
    if (levelOf(range.of(recording)) < silentLevel) return std::nullopt;
    std::vector<Alignment> alignments;
    for (const std::int64_t lag : roughLags(recording, range))
        alignments.push_back(alignNear(recording, range, source_.nearestLag(lag, expectedLag), roughness));
    if (alignments.empty()) return std::nullopt;
    const double best = std::ranges::max(alignments, {}, &Alignment::correlation).correlation;
    std::erase_if(alignments,
                  [best](const Alignment& alignment) { return alignment.correlation < best - equallyGood; });
    return std::ranges::min(alignments, {}, [expectedLag](const Alignment& alignment) {
        return std::abs(alignment.lag - expectedLag);
    });
}

Alignment Aligner::alignNear(Frames recording, SampleRange range, std::int64_t lag,
                             std::int64_t radius) const {
    const Frames heard = range.of(recording);
    const std::vector<Frame> around = source_.due({range.begin - radius, range.end + radius}, lag);
    const auto correlationAt = [&](std::int64_t offset) {
        return correlationOf(heard,
                             Frames(around).subspan(static_cast<std::size_t>(radius - offset), heard.size()));
    };
    Alignment best{.lag = lag, .correlation = correlationAt(0)};
    for (std::int64_t offset = -radius; offset <= radius; ++offset) {
        const double correlation = correlationAt(offset);
        if (correlation > best.correlation + arithmeticError)
            best = {.lag = lag + offset, .correlation = correlation};
    }
    return best;
}

std::vector<std::int64_t> Aligner::roughLags(Frames recording, SampleRange range) const {
    const std::vector<Frame> excerpt = reduced(range.of(recording));
    std::vector<float> correlations = roughCorrelation_.with(excerpt);
    correlations.resize(
        std::min(correlations.size(), static_cast<std::size_t>(source_.length() / reduction + 1)));
    if (correlations.empty()) return {};
    const double heard = energyOf(excerpt);
    if (heard <= 0) return {};
    const double silence = 2 * static_cast<double>(excerpt.size()) * std::pow(10, silentLevel / 10);
    for (std::size_t i = 0; i < correlations.size(); ++i) {
        const double played = roughEnergy_[i + excerpt.size()] - roughEnergy_[i];
        const double energy = heard * played;
        correlations[i] = played > silence ? correlations[i] / static_cast<float>(std::sqrt(energy)) : 0;
    }
    std::vector<std::int64_t> lags;
    for (const Place& place : peaksOf(correlations))
        lags.push_back(range.begin - place.position * reduction);
    return lags;
}

} // namespace velto::judge
