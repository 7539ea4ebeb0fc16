#include "Tools/Proof/TestProgram.h"

#include "Tools/Proof/Proof.h"
#include "Tools/SoundLab/ChildProcess.h"
#include "Tools/SoundLab/OwnedFolder.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace velto {

using nlohmann::json;

TestOutcome runTest(const std::string& name, const std::map<std::string, std::string>& environment) {
    const OwnedFolder folder("velto-proof-test");
    const auto file = folder.path() / "outcome.json";
    auto variables = environment;
    variables["VELTO_TEST_SECONDS"] = "0"; // it takes as long as its counts do
    ChildProcess test({Proof::built("Tests/PipeWire/velto-pipewire-tests"), "--gtest_filter=" + name,
                       "--gtest_output=json:" + file.native()},
                      {variables, folder.path() / "log", false});
    test.wait(std::chrono::hours(24));
    std::ifstream stream(file);
    const json report = json::parse(stream, nullptr, false);
    if (!report.is_object() || report.value("tests", 0) != 1)
        throw std::runtime_error("The test " + name + " has died");
    TestOutcome outcome;
    for (const auto& [key, value] : report.at("testsuites").at(0).at("testsuite").at(0).items()) {
        if (key == "failures") {
            for (const json& failure : value)
                outcome.failures.push_back(name + ": " + failure.value("failure", ""));
        } else if (value.is_string()) {
            const std::string text = value;
            char* end = nullptr;
            const long number = std::strtol(text.c_str(), &end, 10);
            if (!text.empty() && *end == '\0') outcome.counts[key] = static_cast<int>(number);
        }
    }
    return outcome;
}

} // namespace velto
