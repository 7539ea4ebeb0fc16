#include "Tools/Proof/BenchmarkProgram.h"

#include "Tools/Proof/Proof.h"
#include "Tools/SoundLab/ChildProcess.h"
#include "Tools/SoundLab/OwnedFolder.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace velto {

using nlohmann::json;

namespace {

constexpr auto longest = std::chrono::hours(2);

} // namespace

std::vector<ProofFigure> figuresOf(const std::string& program) {
    const OwnedFolder folder("velto-proof-bench");
    const auto figures = folder.path() / "figures";
    const auto log = folder.path() / "log";
    ChildProcess child({Proof::built("Benchmarks/" + program)}, {{{"VELTO_FIGURES", figures}}, log, false});
    const auto status = child.wait(longest);
    std::vector<ProofFigure> result;
    std::ifstream stream(figures);
    for (std::string line; std::getline(stream, line);) {
        const json figure = json::parse(line);
        const auto holds = figure.find("holds");
        result.push_back({figure.at("what"), figure.at("measured"), figure.at("limit"),
                          holds == figure.end() ? std::nullopt : std::optional<bool>(*holds)});
    }
    bool areAllWithin = true;
    for (const ProofFigure& figure : result)
        areAllWithin = areAllWithin && figure.holds.value_or(true);
    if (status != (areAllWithin ? 0 : 1) || result.empty())
        throw std::runtime_error(program + " ended early; the last it said: " + lastLineOf(log));
    return result;
}

std::map<std::string, GrowthCurve> growthCurves() {
    const OwnedFolder folder("velto-proof-bench");
    const auto file = folder.path() / "curves.json";
    ChildProcess child({Proof::built("Benchmarks/velto-core-benchmarks"), "--benchmark_out_format=json",
                        "--benchmark_out=" + file.native()},
                       {{}, "", false});
    child.wait(longest);
    std::ifstream stream(file);
    const json report = json::parse(stream, nullptr, false);
    if (!report.is_object()) throw std::runtime_error("velto-core-benchmarks ended early");
    const std::map<std::string, double> units{{"ns", 1}, {"us", 1e3}, {"ms", 1e6}, {"s", 1e9}};
    std::map<std::string, GrowthCurve> result;
    for (const json& run : report.at("benchmarks")) {
        const std::string name = run.at("name");
        // NAME/SIZE, and perhaps how it is timed.
        const auto slash = std::min(name.find('/'), name.size());
        const std::string size =
            name.substr(slash + (slash < name.size()), name.find('/', slash + 1) - slash - 1);
        const bool isSize = !size.empty() && size.find_first_not_of("0123456789") == std::string::npos;
        if (!isSize || run.at("run_type") != "iteration") continue;
        result[name.substr(0, slash)][std::stod(size)] =
            run.at("real_time").get<double>() * units.at(run.at("time_unit"));
    }
    std::erase_if(result, [](const auto& curve) { return curve.second.size() < 2; });
    return result;
}

} // namespace velto
