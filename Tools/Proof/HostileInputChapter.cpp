// What others can send, write or be called, made up by a fuzzer: the fuzz targets of the tests, for longer.
#include "Tools/Proof/Proof.h"

#include "Tools/SoundLab/ChildProcess.h"
#include "Tools/SoundLab/OwnedFolder.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iterator>
#include <regex>
#include <stdexcept>

namespace velto {

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

std::string contentOf(const fs::path& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// The last number that follows the expression's first group; 0 without one.
double lastNumber(const std::string& text, const std::string& expression) {
    const std::regex pattern(expression);
    double result = 0;
    for (std::sregex_iterator found(text.begin(), text.end(), pattern), end; found != end; ++found)
        result = std::stod((*found)[1]);
    return result;
}

/// How often a target has said each command, and how often it was done.
void reportCommands(const std::string& log, ProofReport& report) {
    const std::regex pattern(R"(command (.+): said (\d+), done (\d+))");
    for (std::sregex_iterator found(log.begin(), log.end(), pattern), end; found != end; ++found) {
        const std::smatch& line = *found;
        report.add({"velto " + line[1].str(), line[2].str() + " times said, " + line[3].str() + " done",
                    "said", line[2] != "0"});
    }
}

} // namespace

void meetHostileInput(Proof& proof) {
    const fs::path sources = fs::path(VELTO_SOURCE_DIR) / "Tests/Fuzz";
    const fs::path targets = fs::path(VELTO_SOURCE_DIR) / "build/sanitized/Tests/Fuzz";
    if (!fs::exists(targets))
        throw std::runtime_error("The fuzz targets are not built: ./run proof builds them");
    const std::chrono::seconds time = proof.howLong.fuzz;
    const OwnedFolder folder("velto-proof-fuzz");
    std::vector<fs::path> programs;
    for (const auto& entry : fs::directory_iterator(targets))
        if (entry.path().filename().native().starts_with("velto-fuzz-")) programs.push_back(entry.path());
    std::ranges::sort(programs);
    for (const fs::path& program : programs) {
        const std::string name = program.filename().native().substr(11);
        const fs::path log = folder.path() / (name + ".log");
        const fs::path corpus = sources / "Corpus" / name;
        fs::create_directory(folder.path() / name);
        ChildProcess fuzzer(
            {program, "-max_total_time=" + std::to_string(time.count()),
             "-seed=" + std::to_string(proof.seed % 1'000'000'000), "-timeout=60", "-rss_limit_mb=2048",
             "-max_len=4096", "-dict=" + (sources / "velto.dict").native(),
             "-artifact_prefix=" + proof.report.folder().native() + "/", folder.path() / name, corpus},
            {{}, log, false});
        const auto status = fuzzer.wait(time + 120s);
        const std::string said = contentOf(log);
        const double places = lastNumber(said, R"(\((\d+) inline 8-bit counters\))");
        const double reached = lastNumber(said, R"(cov: (\d+))");
        char text[96];
        std::snprintf(text, sizeof text, "%.0f inputs in %lld s; %.0f of %.0f places reached",
                      lastNumber(said, R"(#(\d+)\s+DONE)"), static_cast<long long>(time.count()), reached,
                      places);
        proof.report.add({name, text, "nothing found", status == 0});
        reportCommands(said, proof.report);
        if (status != 0)
            proof.report.addViolation(name + ": " +
                                      said.substr(said.size() - std::min<std::size_t>(said.size(), 2000)));
    }
}

} // namespace velto
