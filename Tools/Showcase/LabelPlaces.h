// LabelPlaces: puts slanting labels above what they name, or as little to the right of it as leaves all of
// them room.
#pragma once

#include <vector>

namespace velto {

/// The place of the label for each mark, at least `distance` from the next. Marks must be in order.
std::vector<double> labelPlaces(const std::vector<double>& marks, double distance);

} // namespace velto
