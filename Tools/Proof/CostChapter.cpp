// What it costs, beside stock programs: what the benchmarks measure.
#include "Tools/Proof/BenchmarkProgram.h"
#include "Tools/Proof/Proof.h"

namespace velto {

void measureCost(Proof& proof) {
    for (const char* program : {"velto-sound-benchmarks", "velto-peer-benchmarks", "velto-desktop-benchmarks",
                                "velto-room-benchmarks", "velto-alignment-benchmarks"}) {
        try {
            for (ProofFigure& figure : figuresOf(program))
                proof.report.add(std::move(figure));
        } catch (const std::exception& error) {
            proof.report.addViolation(error.what());
        }
    }
}

} // namespace velto
