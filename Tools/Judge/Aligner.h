// Aligner: finds where in the source a piece of a recording comes from.
//
// First at a quarter of the sample rate everywhere in the source, then sample by sample around the best
// places.
#pragma once

#include "Tools/Judge/CrossCorrelation.h"
#include "Tools/Judge/Source.h"

#include <optional>
#include <vector>

namespace velto::judge {

struct Alignment {
    std::int64_t lag = 0;
    /// Normalised, over both channels together: 1 for a copy at any volume, 0 for silence.
    double correlation = 0;
    friend bool operator==(const Alignment&, const Alignment&) = default;
};

class Aligner {
  public:
    /// Ranges that are to be aligned must not be longer than `longestRange`, in samples.
    Aligner(const Source& source, std::int64_t longestRange);

    const Source& source() const { return source_; }

    /// The best alignment anywhere. Speech repeats itself: of places that match equally well, the one nearest
    /// to the expected lag. None where the recording is silent.
    std::optional<Alignment> align(Frames recording, SampleRange range, std::int64_t expectedLag) const;
    /// The best alignment within `radius` samples of the lag, which itself wins a tie.
    Alignment alignNear(Frames recording, SampleRange range, std::int64_t lag, std::int64_t radius) const;

  private:
    std::vector<std::int64_t> roughLags(Frames recording, SampleRange range) const;

    const Source& source_;
    /// The source at the low rate, followed by its beginning.
    std::vector<Frame> rough_;
    CrossCorrelation roughCorrelation_;
    /// The energy of all low-rate frames before each.
    std::vector<double> roughEnergy_;
};

} // namespace velto::judge
