// Server and session manager stand still at each operation: no turn of the program's loop takes long, and all
// is as before once they go on.
#include "Tools/Proof/Proof.h"

#include "Tools/Proof/TestProgram.h"

namespace velto {

void stopServers(Proof& proof) {
    const auto outcome = runTest("AttackTests.AHangingServerCostsNoTurnOfTheLoopMuch",
                                 {{"VELTO_HANG_SECONDS", proof.isFull ? "1 5 30" : "1 5"}});
    proof.addTest("stuck for 1, 5 (in full: 30) s: long turns, things lost", outcome, "hangs");
    const auto longest = outcome.counts.find("longestTurnMilliseconds");
    if (longest != outcome.counts.end())
        proof.report.add({"longest turn of the loop", std::to_string(longest->second) + " ms", "<= 600 ms",
                          longest->second <= 600});
}

} // namespace velto
