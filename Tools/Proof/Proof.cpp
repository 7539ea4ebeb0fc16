#include "Tools/Proof/Proof.h"

namespace velto {

void Proof::addCount(const std::string& what, std::int64_t count, const std::string& among) {
    report.add({what, std::to_string(count) + " in " + among, "0", count == 0});
}

void Proof::addTest(const std::string& what, const TestOutcome& outcome, const std::string& counted) {
    for (const std::string& failure : outcome.failures)
        report.addViolation(failure);
    const auto count = outcome.counts.find(counted);
    const std::string among = count == outcome.counts.end() ? "?" : std::to_string(count->second);
    addCount(what, static_cast<std::int64_t>(outcome.failures.size()), among + " " + counted);
}

std::filesystem::path Proof::built(const std::string& program) {
    return std::filesystem::canonical("/proc/self/exe").parent_path().parent_path() / program;
}

const std::vector<ProofChapter>& proofChapters() {
    static const std::vector<ProofChapter> chapters{
        {"random-worlds", "Random worlds", playRandomWorlds},
        {"crash-points", "Every crash point", dieAtEveryPoint},
        {"kills", "Real kills", killForReal},
        {"swaps", "Swaps and stops", swapAndStop},
        {"stuck-servers", "Stuck servers", stopServers},
        {"soak", "Soak", soak},
        {"hostile-input", "Hostile input", meetHostileInput},
        {"cost", "Cost", measureCost},
        {"growth", "Growth", measureGrowth},
    };
    return chapters;
}

} // namespace velto
