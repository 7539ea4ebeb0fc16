#include "Tools/Showcase/LabelPlaces.h"

#include <algorithm>

namespace velto {

std::vector<double> labelPlaces(const std::vector<double>& marks, double distance) {
    std::vector<double> places;
    for (const double mark : marks)
        places.push_back(places.empty() ? mark : std::max(mark, places.back() + distance));
    return places;
}

} // namespace velto
