// AlignmentProbe: the two sounds by which outputs are found in a recording: the same tone, rising on one and
// falling on the other, so that both may sound at once and still be told apart.
//
// A value of a few numbers: whoever has the same ones plays the same samples, in whatever process.
#pragma once

#include <cstddef>
#include <vector>

namespace velto {

struct AlignmentProbe {
    enum class Sweep { rising, falling };

    double sampleRate = 48000;
    double seconds = 1;
    /// In Hz. What the smallest speakers still play and the lossiest transmissions still carry.
    double lowest = 300;
    double highest = 12000;
    /// Of full scale.
    double peak = 0.25;

    std::size_t frames() const noexcept;
    /// What the sample rate leaves of `highest`.
    double highestPlayed() const noexcept;
    /// Silent before and after the sweep, which starts and ends softly.
    float sample(Sweep sweep, std::size_t frame) const noexcept;
    std::vector<float> samples(Sweep sweep) const;
};

} // namespace velto
