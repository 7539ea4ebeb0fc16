// CrossCorrelation: compares an excerpt with every place of a long reference at once, by Fourier transform.
//
// The two channels are the real and the imaginary part of one complex signal: the real part of the complex
// correlation is then the sum of both channels' correlations.
#pragma once

#include "Tools/Judge/Sound.h"

#include <memory>
#include <vector>

namespace velto::judge {

class CrossCorrelation {
  public:
    explicit CrossCorrelation(Frames reference);
    CrossCorrelation(const CrossCorrelation&) = delete;
    CrossCorrelation& operator=(const CrossCorrelation&) = delete;
    ~CrossCorrelation();

    /// For every place of the reference at which the excerpt still fits, the sum of their products.
    std::vector<float> with(Frames excerpt) const;

  private:
    struct Transform;
    std::unique_ptr<Transform> transform_;
};

} // namespace velto::judge
