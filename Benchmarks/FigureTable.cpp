#include "Benchmarks/FigureTable.h"

#include <algorithm>

namespace velto {

void FigureTable::add(const char* what, const std::string& measured, const std::string& limit,
                      bool isWithin) {
    std::printf("%-44s %-48s %-32s %s\n", what, measured.c_str(), limit.c_str(),
                isWithin ? "within" : "BEYOND");
    isEveryFigureWithin_ = isEveryFigureWithin_ && isWithin;
}

double median(std::vector<double> values) {
    std::ranges::sort(values);
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

} // namespace velto
