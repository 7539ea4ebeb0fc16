#include "Benchmarks/FigureTable.h"

#include "VeltoCore/Foundation/JSONWriting.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>

namespace velto {

void FigureTable::add(const char* what, const std::string& measured, const std::string& limit,
                      bool isWithin) {
    print(what, measured, limit, isWithin);
    isEveryFigureWithin_ = isEveryFigureWithin_ && isWithin;
}

void FigureTable::addPeer(const char* what, const std::string& measured) {
    print(what, measured, "", std::nullopt);
}

void FigureTable::print(const char* what, const std::string& measured, const std::string& limit,
                        std::optional<bool> isWithin) {
    std::printf("%-44s %-48s %-32s %s\n", what, measured.c_str(), limit.c_str(),
                isWithin ? *isWithin ? "within" : "BEYOND" : "");
    if (const char* file = std::getenv("VELTO_FIGURES")) { // a line of JSON for each, for the proof
        json::Writer writer;
        writer.object([&] {
            writer.field("what", std::string(what));
            writer.field("measured", measured);
            writer.field("limit", limit);
            if (isWithin) writer.field("holds", *isWithin);
        });
        const Data line = writer.finish().value();
        std::ofstream(file, std::ios::app) << std::string(line.begin(), line.end()) << '\n';
    }
}

double median(std::vector<double> values) {
    std::ranges::sort(values);
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

} // namespace velto
