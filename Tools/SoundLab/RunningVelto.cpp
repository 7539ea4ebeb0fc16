#include "Tools/SoundLab/RunningVelto.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <stdexcept>
#include <thread>
#include <utility>

namespace velto {

using nlohmann::json;
using namespace std::chrono_literals;

namespace {

constexpr auto startPatience = 10s;
constexpr auto answerPatience = 20s;

RunningVelto::Words with(const std::filesystem::path& program, const std::string& option) {
    RunningVelto::Words command{program.string()};
    if (!option.empty()) command.push_back(option);
    return command;
}

} // namespace

RunningVelto::RunningVelto(std::filesystem::path program, Environment environment, std::filesystem::path log,
                           const std::string& option)
    : program_(std::move(program)), environment_(std::move(environment)), log_(std::move(log)),
      process_(with(program_, option), {environment_, log_.string(), false}) {
    startWatching();
}

/// The first line comes when the program has launched.
void RunningVelto::startWatching() {
    const auto deadline = std::chrono::steady_clock::now() + startPatience;
    do {
        watcher_.emplace(Words{program_.string(), "watch", "--json"},
                         ChildProcess::Options{environment_, log_.string() + ".watch", true});
        if (readLine()) return;
        std::this_thread::sleep_for(10ms);
    } while (process_.isRunning() && std::chrono::steady_clock::now() < deadline);
    throw std::runtime_error("Velto did not start: see " + log_.string());
}

/// What it tells is noted; false when nothing came in time.
bool RunningVelto::readLine() {
    const auto line = watcher_->readLine(8s);
    const json status = line ? json::parse(*line, nullptr, false) : json();
    if (!status.is_object()) return false;
    state_ = status.value("state", "");
    question_ = status.at("question").is_object() ? status.at("question").value("uid", "") : "";
    volumes_.clear();
    for (const json& output : status.at("outputs"))
        if (output.at("volume").is_number()) volumes_[output.at("uid")] = output.at("volume");
    return true;
}

RunningVelto::Answer RunningVelto::command(const Words& words) {
    Words command{program_.string()};
    command.insert(command.end(), words.begin(), words.end());
    command.push_back("--json");
    const std::string log = log_.string() + ".command";
    std::filesystem::remove(log);
    ChildProcess client(std::move(command), {environment_, log, true});
    auto line = client.readLine(answerPatience);
    while (line && json::parse(*line, nullptr, false).contains("progress")) // on the way to the answer
        line = client.readLine(answerPatience);
    Answer answer{.exitStatus = client.wait(answerPatience).value_or(-1), .json = line.value_or("")};
    const json object = json::parse(answer.json, nullptr, false);
    if (object.is_object()) answer.milliseconds = object.value("milliseconds", 0.0);
    if (answer.exitStatus != 0) answer.error = lastLineOf(log);
    return answer;
}

void RunningVelto::require(const Words& words) {
    const Answer answer = command(words);
    if (answer.exitStatus != 0) throw std::runtime_error(words.front() + ": " + answer.error);
}

std::optional<double> RunningVelto::volume(const std::string& output) const {
    const auto found = volumes_.find(output);
    return found == volumes_.end() ? std::nullopt : std::optional(found->second);
}

std::map<std::string, double> RunningVelto::presetVolumes(const std::string& name) {
    std::map<std::string, double> volumes;
    for (const json& preset : json::parse(command({"presets"}).json).at("presets")) {
        if (preset.at("name") != name) continue;
        for (const json& output : preset.at("outputs"))
            if (output.at("volume").is_number()) volumes[output.at("uid")] = output.at("volume");
    }
    return volumes;
}

void RunningVelto::waitUntil(const std::function<bool()>& condition, const std::string& what) {
    while (!condition())
        if (!readLine()) throw std::runtime_error("Velto did not tell that " + what);
}

void RunningVelto::waitForState(const std::string& state) {
    waitUntil([&] { return state_ == state; }, "the session is " + state);
}

} // namespace velto
