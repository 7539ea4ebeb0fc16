// TextTable: a table for the terminal, aligned, with long cells broken into lines.
#pragma once

#include <string>
#include <vector>

namespace velto::judge {

class TextTable {
  public:
    enum class Align { left, right };
    struct Column {
        std::string title;
        Align align;
        /// In characters; cells are broken beyond it.
        std::size_t mostWidth;
    };

    explicit TextTable(std::vector<Column> columns);

    /// A cell for each column, and lines to stand under the row as they are.
    void add(const std::vector<std::string>& cells, std::vector<std::string> notes);
    /// With a line break at the end.
    std::string text() const;

  private:
    struct Row {
        /// The lines of each cell.
        std::vector<std::vector<std::string>> cells;
        std::vector<std::string> notes;
    };

    Row makeRow(const std::vector<std::string>& cells, std::vector<std::string> notes) const;
    std::vector<std::size_t> widths() const;
    void append(std::string& text, const Row& row, const std::vector<std::size_t>& widths) const;

    std::vector<Column> columns_;
    /// The titles first.
    std::vector<Row> rows_;
};

} // namespace velto::judge
