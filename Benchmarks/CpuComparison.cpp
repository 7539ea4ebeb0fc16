#include "Benchmarks/CpuComparison.h"

#include "Benchmarks/CombineStream.h"
#include "Tools/SoundLab/ChildProcess.h"
#include "Tools/SoundLab/ProcessFigures.h"

#include <chrono>
#include <cstdio>
#include <optional>
#include <stdexcept>
#include <string>

namespace velto {

namespace {

using namespace std::chrono_literals;

/// What one would build by hand: a null sink, linked to both outputs, as the default.
void plugBareSink(SoundBench& bench) {
    bench.lab().plug({"bare", "A null sink with two links", {}});
    for (const char* output : {SoundBench::desk, SoundBench::usb})
        for (const char* channel : {"FL", "FR"}) {
            ChildProcess link({"pw-link", "-L", std::string("bare:monitor_") + channel,
                               std::string(output) + ":playback_" + channel},
                              {bench.server().environment(), "", false});
            if (link.wait(5s) != 0) throw std::runtime_error("pw-link could not link the bare sink");
        }
    bench.lab().pickDefault("bare");
}

/// What the server's own module takes for the same; none where it doesn't come to play.
std::optional<double> cpuOfCombining(SoundBench& bench) {
    try {
        const CombineStream peer(bench);
        return cpuPerSecondOfAudio([&] { return bench.cpuSeconds() + cpuSecondsOf(peer.process()); });
    } catch (const std::runtime_error& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return std::nullopt;
    }
}

} // namespace

double cpuPerSecond(SoundBench& bench) {
    return cpuPerSecondOfAudio([&] { return bench.cpuSeconds(); });
}

CpuComparison compareCpu(SoundBench& bench, const std::function<double()>& ours) {
    CpuComparison result;
    for (int round = 0; round < 6; ++round) {
        const auto combined = cpuOfCombining(bench);
        plugBareSink(bench);
        const double bare = cpuPerSecond(bench);
        bench.lab().unplug("bare");
        result.ours.push_back(ours());
        result.toBareSink.push_back(result.ours.back() / bare);
        if (combined) result.toCombining.push_back(result.ours.back() / *combined);
    }
    return result;
}

void CpuComparison::addToCombining(FigureTable& table, const char* what, const char* limit,
                                   double most) const {
    if (toCombining.empty()) return table.addPeer(what, "the module played in no round");
    table.add(what, text("x %.2f", median(toCombining)), limit, median(toCombining) <= most);
}

} // namespace velto
