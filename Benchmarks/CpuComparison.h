// CpuComparison: what playing together costs, beside what else plays on the same two outputs.
#pragma once

#include "Benchmarks/FigureTable.h"
#include "Tools/SoundLab/SoundBench.h"

#include <functional>
#include <vector>

namespace velto {

struct CpuComparison {
    /// Milliseconds per second of audio, and that against a bare null sink with two links, of each round.
    std::vector<double> ours, toBareSink;
    /// Against the server's own module that combines streams, of the rounds in which that played.
    std::vector<double> toCombining;

    /// Adds what it comes to beside the module.
    void addToCombining(FigureTable& table, const char* what, const char* limit, double most) const;
};

/// Milliseconds of CPU that the daemon, Velto and what delays take for a second of audio.
double cpuPerSecond(SoundBench& bench);

/// Six rounds, in each of which one plays after the other. `ours` starts Velto's session, measures it and
/// stops it.
CpuComparison compareCpu(SoundBench& bench, const std::function<double()>& ours);

} // namespace velto
