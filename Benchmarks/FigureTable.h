// FigureTable: prints what was measured beside its limit, a line at a time, and remembers whether all held.
#pragma once

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

namespace velto {

class FigureTable {
  public:
    void add(const char* what, const std::string& measured, const std::string& limit, bool isWithin);
    /// What another program takes: nothing is asked of it.
    void addPeer(const char* what, const std::string& measured);
    bool isEveryFigureWithin() const noexcept { return isEveryFigureWithin_; }

  private:
    void print(const char* what, const std::string& measured, const std::string& limit,
               std::optional<bool> isWithin);

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
