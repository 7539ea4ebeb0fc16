// LabelRows: puts labels that stand to the right of vertical lines into rows, so that none covers another and
// no line crosses a label.
#pragma once

#include <cstddef>
#include <vector>

namespace velto::judge {

struct Label {
    /// Where its line is and the text begins.
    double x = 0;
    double width = 0;
};

/// The row of each label, 0 at the top; lines go down from their label. Labels must be in the order of x.
std::vector<std::size_t> rowsOf(const std::vector<Label>& labels);

} // namespace velto::judge
