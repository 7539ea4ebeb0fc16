// A program of the benchmarks, run by the proof for its figures.
#pragma once

#include "Tools/Proof/ProofReport.h"

#include <map>
#include <string>
#include <vector>

namespace velto {

/// The figures of its table, as it prints them. Throws std::runtime_error with the last it said where it
/// ended before its end.
std::vector<ProofFigure> figuresOf(const std::string& program);

/// What a size costs, in nanoseconds.
using GrowthCurve = std::map<double, double>;
/// The times of those of the core's benchmarks that have sizes, by their name.
std::map<std::string, GrowthCurve> growthCurves();

} // namespace velto
