// Source: what the player plays.
//
// A player may start over at the end, so the source repeats without end in both directions. A lag says how
// much later than in the source something is heard: recording[t] is source[t - lag]. Lags that differ by the
// source's length are the same.
#pragma once

#include "Tools/Judge/Sound.h"

#include <vector>

namespace velto::judge {

class Source {
  public:
    /// Throws UnusableInput when the source is silent: nothing could be told by it.
    explicit Source(std::vector<Frame> frames);

    std::int64_t length() const { return static_cast<std::int64_t>(frames_.size()); }
    Frames frames() const { return frames_; }
    /// What is due in that range of a recording at that lag.
    std::vector<Frame> due(SampleRange range, std::int64_t lag) const;
    /// Of the lags that are the same, the one nearest to the expected lag.
    std::int64_t nearestLag(std::int64_t lag, std::int64_t expectedLag) const;

  private:
    std::vector<Frame> frames_;
};

} // namespace velto::judge
