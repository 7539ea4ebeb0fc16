// SampleMatch: which samples of a recording are those of the source, at a lag and a volume of its own.
#pragma once

#include "Tools/Judge/Source.h"

#include <vector>

namespace velto::judge {

/// The volume of each channel, as a factor.
struct Gain {
    float left = 0;
    float right = 0;
};

class SampleMatch {
  public:
    /// Compares that range of the recording with the source.
    SampleMatch(const Source& source, Frames recording, SampleRange range, std::int64_t lag, Gain gain);

    /// The middle of the volumes of all audible samples: a short gap doesn't change it.
    static Gain gainIn(const Source& source, Frames recording, SampleRange range, std::int64_t lag);

    /// Whether the sample of the recording is the source's, silence included.
    bool matches(std::int64_t sample) const;
    /// Whether the source could be heard at that sample of the recording.
    bool isAudible(std::int64_t sample) const;

  private:
    Frames recording_;
    std::int64_t begin_;
    /// What the recording would hold if it were a perfect copy.
    std::vector<Frame> due_;
};

} // namespace velto::judge
