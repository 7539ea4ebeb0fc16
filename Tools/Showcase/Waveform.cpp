#include "Tools/Showcase/Waveform.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace velto {

std::vector<Extent> waveformOf(judge::Frames frames, std::size_t columns) {
    std::vector<Extent> waveform(columns);
    for (std::size_t column = 0; column < columns; ++column) {
        const std::size_t begin = column * frames.size() / columns;
        const std::size_t end = (column + 1) * frames.size() / columns;
        for (const judge::Frame& frame : frames.subspan(begin, end - begin)) {
            waveform[column].lowest = std::min({waveform[column].lowest, frame.left, frame.right});
            waveform[column].highest = std::max({waveform[column].highest, frame.left, frame.right});
        }
    }
    return waveform;
}

float peakOf(const std::vector<Extent>& waveform) {
    float peak = 0;
    for (const Extent& extent : waveform)
        peak = std::max({peak, extent.highest, -extent.lowest});
    return peak;
}

std::string outlineOf(const std::vector<Extent>& waveform, std::size_t begin, std::size_t end, double x,
                      double y, double scale) {
    const auto isSilent = [](const Extent& extent) { return extent.lowest == extent.highest; };
    if (std::all_of(waveform.begin() + static_cast<std::ptrdiff_t>(begin),
                    waveform.begin() + static_cast<std::ptrdiff_t>(end), isSilent))
        return {};
    std::string path;
    const auto add = [&](std::size_t column, float amplitude) {
        fmt::format_to(std::back_inserter(path), "{}{:.0f} {:.1f}", path.empty() ? 'M' : 'L',
                       x + static_cast<double>(column), y - scale * static_cast<double>(amplitude));
    };
    for (std::size_t column = begin; column < end; ++column) {
        add(column, waveform[column].highest);
        add(column + 1, waveform[column].highest);
    }
    for (std::size_t column = end; column > begin; --column) {
        add(column, waveform[column - 1].lowest);
        add(column - 1, waveform[column - 1].lowest);
    }
    return path + "Z";
}

} // namespace velto
