#include "Tools/Judge/LabelRows.h"

#include <algorithm>

namespace velto::judge {

std::vector<std::size_t> rowsOf(const std::vector<Label>& labels) {
    std::vector<std::size_t> rows;
    for (const Label& label : labels) {
        // Beneath each label that reaches this line: the line must not cross it.
        std::size_t row = 0;
        for (std::size_t i = 0; i < rows.size(); ++i) {
            if (labels[i].x + labels[i].width > label.x) row = std::max(row, rows[i] + 1);
        }
        rows.push_back(row);
    }
    return rows;
}

} // namespace velto::judge
