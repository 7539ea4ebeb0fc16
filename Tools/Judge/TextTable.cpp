#include "Tools/Judge/TextTable.h"

#include "Tools/Judge/PlainText.h"

#include <algorithm>

namespace velto::judge {

namespace {

constexpr std::size_t columnGap = 2;

/// The text filled up with spaces on the side that is not aligned.
std::string padded(const std::string& text, std::size_t width, TextTable::Align align) {
    const std::string space(width - std::min(width, widthOf(text)), ' ');
    return align == TextTable::Align::left ? text + space : space + text;
}

} // namespace

TextTable::TextTable(std::vector<Column> columns) : columns_(std::move(columns)) {
    std::vector<std::string> titles;
    for (const Column& column : columns_)
        titles.push_back(column.title);
    rows_.push_back(makeRow(titles, {}));
}

void TextTable::add(const std::vector<std::string>& cells, std::vector<std::string> notes) {
    rows_.push_back(makeRow(cells, std::move(notes)));
}

TextTable::Row TextTable::makeRow(const std::vector<std::string>& cells,
                                  std::vector<std::string> notes) const {
    Row row{.cells = {}, .notes = std::move(notes)};
    for (std::size_t i = 0; i < columns_.size(); ++i)
        row.cells.push_back(wrapped(cleaned(cells[i]), columns_[i].mostWidth));
    return row;
}

std::vector<std::size_t> TextTable::widths() const {
    std::vector<std::size_t> widths(columns_.size(), 0);
    for (const Row& row : rows_) {
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            for (const std::string& line : row.cells[i])
                widths[i] = std::max(widths[i], widthOf(line));
        }
    }
    return widths;
}

void TextTable::append(std::string& text, const Row& row, const std::vector<std::size_t>& widths) const {
    const std::size_t lineCount = std::ranges::max(row.cells, {}, &std::vector<std::string>::size).size();
    for (std::size_t line = 0; line < lineCount; ++line) {
        std::string shown;
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            const std::string cell = line < row.cells[i].size() ? row.cells[i][line] : "";
            shown += padded(cell, widths[i], columns_[i].align) + std::string(columnGap, ' ');
        }
        shown.erase(shown.find_last_not_of(' ') + 1);
        text += shown + "\n";
    }
    for (const std::string& note : row.notes)
        text += cleaned(note) + "\n";
}

std::string TextTable::text() const {
    const std::vector<std::size_t> widths = this->widths();
    std::size_t total = 0;
    for (const std::size_t width : widths)
        total += width + columnGap;
    std::string text;
    for (const Row& row : rows_) {
        append(text, row, widths);
        if (&row == &rows_.front()) {
            for (std::size_t i = 0; i < total - columnGap; ++i)
                text += "─";
            text += "\n";
        }
    }
    return text;
}

} // namespace velto::judge
