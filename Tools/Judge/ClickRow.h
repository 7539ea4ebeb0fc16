// ClickRow: finds the clicks of a sync test in recordings, to the sample.
//
// A click is a tone of 1 kHz that lasts 12 ms, begins with its first zero, and decays by a factor of e every
// 2.5 ms. What a click must be is written down here once more, on purpose: nothing is taken from who plays
// it.
#pragma once

#include "Tools/Judge/Sound.h"

#include <cstdint>
#include <string>
#include <vector>

namespace velto::judge {

/// Fewer in a row prove no distance between them.
constexpr std::int64_t fewestClicks = 3;

/// A recording, and how strong the clicks in it must be.
struct ClickTrack {
    Frames recording;
    double peak = 0;
};

struct ClickRow {
    /// The first sample of the first click.
    std::int64_t begin = 0;
    std::int64_t count = 0;

    bool isEnough() const { return count >= fewestClicks; }
    friend bool operator==(const ClickRow&, const ClickRow&) = default;
};

/// The longest row of clicks that begin at the same samples of all tracks: each is exact on both channels,
/// each begins one interval after the one before, and between them there is silence.
ClickRow longestClickRow(const std::vector<ClickTrack>& tracks, SampleRange range, std::int64_t interval);

/// What sounds there are between silences, in words: for whoever must know why they are no such row.
std::string describeClicks(Frames recording, SampleRange range);

} // namespace velto::judge
