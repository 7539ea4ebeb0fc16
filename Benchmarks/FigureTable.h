// FigureTable: prints what was measured beside its limit, a line at a time, and remembers whether all held.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace velto {

class FigureTable {
  public:
    void add(const char* what, const std::string& measured, const std::string& limit, bool isWithin);
    bool isEveryFigureWithin() const noexcept { return isEveryFigureWithin_; }

  private:
    bool isEveryFigureWithin_ = true;
};

double median(std::vector<double> values);

template <class... Values>
std::string text(const char* format, Values... values) {
    char line[160];
    std::snprintf(line, sizeof line, format, values...);
    return line;
}

} // namespace velto
