// velto-proof: what Velto claims, measured on this machine; what holds and what doesn't, in report.md.
#include "Tools/Proof/MachineDescription.h"
#include "Tools/Proof/Proof.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace {

using namespace velto;

/// Whether it holds.
bool run(const ProofChapter& chapter, Proof& proof) {
    const auto begin = std::chrono::steady_clock::now();
    std::string command = std::string("./run proof ") + (proof.isFull ? "--full " : "") + "--only " +
                          chapter.name + " --seed " + std::to_string(proof.seed);
    const Proof::Times& times = proof.howLong;
    if (chapter.run == soak)
        command += " --soak " + std::to_string(times.soak.count()) + " --soak-pause " +
                   std::to_string(times.soakPause.count());
    if (chapter.run == meetHostileInput) command += " --fuzz " + std::to_string(times.fuzz.count());
    proof.report.begin(chapter.name, chapter.title, "`" + command + "`, " + circumstances());
    try {
        chapter.run(proof);
    } catch (const std::exception& error) {
        proof.report.fail(error.what());
    }
    return proof.report.end(std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
}

} // namespace

int main(int count, char** arguments) {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    std::signal(SIGPIPE, SIG_IGN); // a program that died is reported by what it doesn't answer
    std::vector<std::string> names;
    for (const ProofChapter& chapter : proofChapters())
        names.emplace_back(chapter.name);
    CLI::App command(
        "Measures what Velto claims, and writes what holds to report.md and report.json. What these say of "
        "other chapters stays.");
    bool isFull = false;
    std::vector<std::string> only;
    std::uint64_t seed = 20'260'000;
    int soakMinutes = 0;
    int soakPause = 2000;
    int fuzzSeconds = 0;
    std::string folder = "build/proof";
    command.add_flag("--full", isFull, "All counts; takes a day, most of which a machine spends waiting");
    command.add_option("--only", only, "These chapters")->check(CLI::IsMember(names));
    command.add_option("--seed", seed, "Where chance begins");
    command.add_option("--soak", soakMinutes, "Minutes of soaking; 5, or with --full 1440")
        ->check(CLI::Range(1, 100'000));
    command.add_option("--soak-pause", soakPause, "Milliseconds between what happens in it; 2000")
        ->check(CLI::Range(0, 60'000));
    command
        .add_option("--fuzz", fuzzSeconds, "Seconds of each kind of hostile input; 30, or with --full 3600")
        ->check(CLI::Range(1, 100'000));
    command.add_option("--folder", folder, "Where the report goes");
    CLI11_PARSE(command, count, arguments);
    try {
        ProofReport report(folder, names, machineDescription());
        if (soakMinutes == 0) soakMinutes = isFull ? 24 * 60 : 5;
        if (fuzzSeconds == 0) fuzzSeconds = isFull ? 3600 : 30;
        Proof proof(report, isFull, seed,
                    {.soak = std::chrono::minutes(soakMinutes),
                     .soakPause = std::chrono::milliseconds(soakPause),
                     .fuzz = std::chrono::seconds(fuzzSeconds)});
        bool holds = true;
        for (const ProofChapter& chapter : proofChapters())
            if (only.empty() || std::ranges::find(only, chapter.name) != only.end())
                holds = run(chapter, proof) && holds;
        std::printf("\n%s; the report is in %s\n", holds ? "All of it holds" : "Not all of it holds",
                    (report.folder() / "report.md").c_str());
        return holds ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "velto-proof: %s\n", error.what());
        return 2;
    }
}
