// Waveform: how far sound reaches up and down in each column of a picture.
#pragma once

#include "Tools/Judge/Sound.h"

#include <string>
#include <vector>

namespace velto {

struct Extent {
    float lowest = 0;
    float highest = 0;
};

/// Both channels together. Every sample is in exactly one column.
std::vector<Extent> waveformOf(judge::Frames frames, std::size_t columns);
/// The greatest amplitude.
float peakOf(const std::vector<Extent>& waveform);

/// The outline of columns `begin` to `end` as SVG path data, one pixel a column from x on. The middle is at y
/// and an amplitude of 1 is `scale` pixels high. Empty for silence.
std::string outlineOf(const std::vector<Extent>& waveform, std::size_t begin, std::size_t end, double x,
                      double y, double scale);

} // namespace velto
