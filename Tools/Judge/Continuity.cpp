#include "Tools/Judge/Continuity.h"

#include "Tools/Judge/SampleMatch.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <optional>

namespace velto::judge {

namespace {

/// Enough to know the place; what is missing there is counted sample by sample.
constexpr double recognisable = 0.5;
/// What comes after an event within this time belongs to it.
constexpr std::int64_t settling = sampleRate / 5;
/// Fewer matching samples in a row are chance.
constexpr std::int64_t shortestMatch = 16;
/// A source that can't be heard for longer than this was silent; for less it only crossed zero.
constexpr std::int64_t longestZeroCrossing = sampleRate / 500;

struct Aligned {
    SampleRange range;
    std::int64_t lag;
};

enum class Direction { before, after };

/// Aligns half a second before or after a sample, or more where the source pauses.
std::optional<Aligned> alignBeside(std::int64_t sample, Direction direction, const Aligner& aligner,
                                   Frames recording, std::int64_t expectedLag) {
    const auto end = static_cast<std::int64_t>(recording.size());
    for (const std::int64_t length : {sampleRate / 2, sampleRate, 2 * sampleRate}) {
        const SampleRange range = direction == Direction::before
                                      ? SampleRange{std::max(sample - length, std::int64_t{0}), sample}
                                      : SampleRange{sample, std::min(sample + length, end)};
        const auto alignment = aligner.align(recording, range, expectedLag);
        if (alignment && alignment->correlation >= recognisable) return Aligned{range, alignment->lag};
    }
    return std::nullopt;
}

SampleMatch matchOver(SampleRange range, const Aligned& aligned, const Source& source, Frames recording) {
    return {source, recording, range, aligned.lag,
            SampleMatch::gainIn(source, recording, aligned.range, aligned.lag)};
}

/// How many samples are neither at the edge of the range nor in a row of at least `shortestMatch` for which
/// `matches` holds.
std::int64_t countUnmatched(SampleRange range, auto matches) {
    std::int64_t unmatched = 0;
    std::int64_t row = shortestMatch;
    for (std::int64_t sample = range.begin; sample < range.end; ++sample) {
        if (matches(sample)) {
            ++row;
            continue;
        }
        unmatched += 1 + (row < shortestMatch ? row : 0);
        row = 0;
    }
    return unmatched;
}

std::optional<std::int64_t> firstAudible(const SampleMatch& match, SampleRange range) {
    for (std::int64_t sample = range.begin; sample < range.end; ++sample) {
        if (match.isAudible(sample)) return sample;
    }
    return std::nullopt;
}

} // namespace

std::expected<LostSamples, std::string> lostAround(const Aligner& aligner, Frames recording,
                                                   std::int64_t event, std::int64_t expectedLag) {
    const auto before = alignBeside(event, Direction::before, aligner, recording, expectedLag);
    if (!before) return std::unexpected("doesn't carry the source before the event");
    const auto after = alignBeside(event + settling, Direction::after, aligner, recording, before->lag);
    if (!after) return std::unexpected("doesn't carry the source after the event");

    const SampleRange range{event - sampleAt(secondsBeforeEvent), event + sampleAt(secondsAfterEvent)};
    const SampleMatch early = matchOver(range, *before, aligner.source(), recording);
    const SampleMatch late = matchOver(range, *after, aligner.source(), recording);
    if (!firstAudible(early, {event, event + settling}))
        return std::unexpected("can't be judged: the source is silent at the event");

    const std::int64_t gap = countUnmatched(
        range, [&](std::int64_t sample) { return early.matches(sample) || late.matches(sample); });
    const std::int64_t delayed = after->lag - before->lag;
    return LostSamples{.gap = gap,
                       .skipped = std::max(-delayed, std::int64_t{0}),
                       .repeated = std::max(delayed - gap, std::int64_t{0})};
}

std::expected<Return, std::string> returnAfter(const Aligner& aligner, Frames recording, double event,
                                               SampleRange window, std::int64_t lag) {
    const SampleRange range{static_cast<std::int64_t>(std::ceil(event * sampleRate)), window.end};
    const SampleMatch match = matchOver(range, {window, lag}, aligner.source(), recording);
    std::int64_t first = range.end;
    while (first > range.begin && match.matches(first - 1))
        --first;
    const auto audible = firstAudible(match, {first, range.end});
    if (!audible) return std::unexpected("doesn't carry the source to the end of the window");
    const bool wasSilent = *audible - first > longestZeroCrossing;
    const auto since = [event](std::int64_t sample) { return (secondsAt(sample) - event) * 1000; };
    return Return{.milliseconds = since(wasSilent ? *audible : first), .missingMilliseconds = since(first)};
}

} // namespace velto::judge
