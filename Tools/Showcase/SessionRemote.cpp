#include "Tools/Showcase/SessionRemote.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <stdexcept>
#include <utility>

namespace velto {

using nlohmann::json;
using namespace std::chrono_literals;

struct SessionRemote::Line {
    json object;
};

SessionRemote::SessionRemote(const std::filesystem::path& program,
                             std::map<std::string, std::string> environment, const std::filesystem::path& log)
    : process_({program.string()}, {std::move(environment), log, true}) {
    if (!process_.readLine(5s))
        throw std::runtime_error("The session program did not start: see session.log");
}

/// The next line; what it tells is noted. No object when nothing came in time.
SessionRemote::Line SessionRemote::read() {
    const auto text = process_.readLine(8s);
    Line line{text ? json::parse(*text, nullptr, false) : json()};
    const json& object = line.object;
    if (!object.is_object()) return line;
    const std::string event = object.value("event", "");
    if (event == "state") {
        state_ = object.value("state", "");
    } else if (event == "question") {
        question_ = object.value("uid", "");
    } else if (event == "volume") {
        volumes_[object.value("uid", "")] = object.value("volume", 0.0);
    } else if (event == "click") {
        isClicking_ = object.value("playing", false);
    }
    return line;
}

SessionRemote::Line SessionRemote::answerTo(const std::string& command) {
    process_.writeLine(command);
    for (Line line = read(); line.object.is_object(); line = read())
        if (line.object.value("done", "") == command) return line;
    throw std::runtime_error("The session program did not answer: " + command);
}

SessionRemote::Answer SessionRemote::command(const std::string& line) {
    const json answer = answerTo(line).object;
    return {answer.value("milliseconds", 0.0), answer.value("error", "")};
}

void SessionRemote::require(const std::string& line) {
    const Answer answer = command(line);
    if (!answer.error.empty()) throw std::runtime_error(line + ": " + answer.error);
}

std::optional<double> SessionRemote::volume(const std::string& output) const {
    const auto found = volumes_.find(output);
    return found == volumes_.end() ? std::nullopt : std::optional(found->second);
}

std::map<std::string, double> SessionRemote::presetVolumes(const std::string& name) {
    const json answer = answerTo("preset " + name).object;
    return answer.value("volumes", std::map<std::string, double>());
}

void SessionRemote::waitUntil(const std::function<bool()>& condition, const std::string& what) {
    while (!condition())
        if (!read().object.is_object())
            throw std::runtime_error("The session program did not tell that " + what);
}

void SessionRemote::waitForState(const std::string& state) {
    waitUntil([&] { return state_ == state; }, "the session is " + state);
}

} // namespace velto
