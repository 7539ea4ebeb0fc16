// Proof: what a chapter of the proof is given. The chapters themselves, each a function in a source of its
// own.
//
// A chapter says what it has measured to the report and throws where it can't go on. What tests and
// benchmarks do already it has them do.
#pragma once

#include "Tools/Proof/ProofReport.h"
#include "Tools/Proof/TestProgram.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace velto {

class Proof {
  public:
    /// What takes as long as one likes.
    struct Times {
        std::chrono::minutes soak;
        /// Between what happens in it.
        std::chrono::milliseconds soakPause;
        /// Of each fuzz target.
        std::chrono::seconds fuzz;
    };

    Proof(ProofReport& report, bool isFull, std::uint64_t seed, const Times& times)
        : report(report), isFull(isFull), seed(seed), howLong(times) {}

    ProofReport& report;
    const bool isFull;
    const std::uint64_t seed;
    const Times howLong;

    /// How often something is done: in a usual proof, and in a full one.
    int times(int usually, int fully) const noexcept { return isFull ? fully : usually; }
    /// A figure that is to be 0: what was counted among so many.
    void addCount(const std::string& what, std::int64_t count, const std::string& among);
    /// The same of a test: its failures, among as many as it counts under that name.
    void addTest(const std::string& what, const TestOutcome& outcome, const std::string& counted);
    /// Of this build, by its path below it.
    static std::filesystem::path built(const std::string& program);
};

struct ProofChapter {
    const char* name;
    const char* title;
    void (*run)(Proof& proof);
};
/// All of them, in their order.
const std::vector<ProofChapter>& proofChapters();

/// Anything happens to the program, and the invariants hold. (RandomWorldsChapter.cpp)
void playRandomWorlds(Proof& proof);
/// The program dies before and after all that it does. (CrashPointsChapter.cpp)
void dieAtEveryPoint(Proof& proof);
/// The shipped program, its server and its session manager are killed. (KillsChapter.cpp)
void killForReal(Proof& proof);
/// Outputs are swapped, sessions stopped. (SwapsChapter.cpp)
void swapAndStop(Proof& proof);
/// Servers stand still. (StuckServersChapter.cpp)
void stopServers(Proof& proof);
/// The shipped program, for a long while. (SoakChapter.cpp)
void soak(Proof& proof);
/// Decoders are fuzzed. (HostileInputChapter.cpp)
void meetHostileInput(Proof& proof);
/// What the benchmarks measure. (CostChapter.cpp)
void measureCost(Proof& proof);
/// What the core's benchmarks say of growing sizes. (GrowthChapter.cpp)
void measureGrowth(Proof& proof);

} // namespace velto
