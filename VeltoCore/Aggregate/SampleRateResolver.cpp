#include "VeltoCore/Aggregate/SampleRateResolver.h"

#include <algorithm>
#include <cmath>

namespace velto {

namespace {

bool isRate(double rate) { return std::isfinite(rate) && rate > 0; }

bool isSound(const SampleRateRange& range) { return range.lowerBound <= range.upperBound; }

/// The highest rate that any range of the first shares with any of the second.
std::optional<double> highestSharedRate(const SampleRateRanges& first, const SampleRateRanges& second) {
    std::optional<double> best;
    for (const SampleRateRange& a : first) {
        for (const SampleRateRange& b : second) {
            if (!isSound(a) || !isSound(b)) continue;
            const double lower = std::max(a.lowerBound, b.lowerBound);
            const double upper = std::min(a.upperBound, b.upperBound);
            if (lower <= upper && isRate(upper) && (!best || upper > *best)) best = upper;
        }
    }
    return best;
}

} // namespace

bool SampleRateResolver::supports(const SampleRateRanges& ranges, double rate) noexcept {
    return std::ranges::any_of(ranges, [rate](const SampleRateRange& range) { return range.contains(rate); });
}

std::optional<double> SampleRateResolver::resolve(const SampleRateRanges& first,
                                                  const SampleRateRanges& second,
                                                  std::optional<double> preferred) {
    const auto bothSupport = [&](double rate) {
        return isRate(rate) && supports(first, rate) && supports(second, rate);
    };
    if (preferred && bothSupport(*preferred)) return preferred;
    if (const auto rate = std::ranges::find_if(preferredRates, bothSupport); rate != preferredRates.end())
        return *rate;
    return highestSharedRate(first, second);
}

std::optional<double> SampleRateResolver::resolve(const std::vector<SampleRateRanges>& all,
                                                  std::optional<double> preferred) {
    if (all.empty()) return std::nullopt;
    if (all.size() == 1) return resolve(all[0], all[0], preferred);
    SampleRateRanges current = all.front();
    std::optional<double> rate;
    for (std::size_t i = 1; i < all.size(); ++i) {
        rate = resolve(current, all[i], preferred);
        if (!rate) return std::nullopt;
        current = {{*rate, *rate}};
    }
    return rate;
}

} // namespace velto
