// Continuity: what an output lost at a moment, and when it sounded again, to the sample.
//
// A recording is an exact copy of the source but for its volume, so each sample either is the source's or is
// not.
#pragma once

#include "Tools/Judge/Aligner.h"

#include <expected>
#include <string>

namespace velto::judge {

/// What is looked at around an event, in seconds.
constexpr double secondsBeforeEvent = 0.5;
constexpr double secondsAfterEvent = 0.7;

/// In samples. A pause after which the source goes on where it stopped is a gap; one during which it ran on
/// as well.
struct LostSamples {
    /// Heard, but not from the source.
    std::int64_t gap = 0;
    /// Left out of the source beyond the gap.
    std::int64_t skipped = 0;
    /// Played twice.
    std::int64_t repeated = 0;

    std::int64_t total() const { return gap + skipped + repeated; }
    friend bool operator==(const LostSamples&, const LostSamples&) = default;
};

struct Return {
    /// Until the output is heard to carry the source.
    double milliseconds = 0;
    /// Until the last moment at which something is known to be missing. Earlier than `milliseconds` when the
    /// source paused meanwhile: then nothing tells when in the pause the output was back.
    double missingMilliseconds = 0;

    bool sourceWasSilent() const { return missingMilliseconds < milliseconds; }
    friend bool operator==(const Return&, const Return&) = default;
};

/// An error is why it can't be told, to be read after the output's name.
std::expected<LostSamples, std::string> lostAround(const Aligner& aligner, Frames recording,
                                                   std::int64_t event, std::int64_t expectedLag);

/// How long after the event, in seconds, the output carries the source from then on to the end of the window,
/// in which it has that lag.
std::expected<Return, std::string> returnAfter(const Aligner& aligner, Frames recording, double event,
                                               SampleRange window, std::int64_t lag);

} // namespace velto::judge
