#include "Tools/Showcase/Stage.h"

#include "Tools/SoundLab/VoiceRecording.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace velto {

namespace fs = std::filesystem;
using nlohmann::json;
using namespace std::chrono_literals;

namespace {

constexpr const char* recordKey = "com.corlent.velto.recoveryState";

constexpr double longestStory = 120; // seconds
/// The program gives the devices two seconds to return.
constexpr double timeAfterWake = 2.3;
/// After an act the player may need a moment to follow it.
constexpr double settling = 0.3;
constexpr double listening = 1.3;
/// What a busy machine may need for something that usually takes no time.
constexpr double patience = 5;
// One sample on a busy machine: these catch what is wrong, not what is slow. The benchmarks hold the medians
// to 25 ms, and a hundred returns to a cycle of the graph and 5 ms.

/// What a start, a stop or a recovery may take, in milliseconds.
constexpr double operationLimit = 100;
/// A returning output may be silent for a cycle of the graph and this many milliseconds.
constexpr double returnLimit = 30;

} // namespace

std::atomic<bool> Stage::isInterrupted = false;

Stage::Stage(Options options) : options_(std::move(options)), tape_({desk, usb, speaker, display}) {
    fs::create_directories(options_.folder);
    outputs_ = {{desk, VirtualOutput::builtIn(desk, "Desk Speakers")},
                {usb, VirtualOutput::usb(usb, "USB DAC")},
                {speaker, VirtualOutput::bluetooth(speaker, "Kitchen Speaker")},
                {display, VirtualOutput::hdmi(display, "Living Room TV")}};
    story_.outputs = {{desk, "Desk Speakers", "Built-in, 48 kHz", "desk.wav"},
                      {usb, "USB DAC", "USB, 96 kHz", "usb.wav"},
                      {speaker, "Kitchen Speaker", "Bluetooth, 48 kHz", "speaker.wav"},
                      {display, "Living Room TV", "HDMI, 44.1 kHz", "display.wav"}};
    story_.source = "source.wav";
    writeVoiceRecording(options_.folder / story_.source, longestStory);
    plugOutputs();
    check(lab_->waitForDefault(desk), "The private sound server chose no default output");
    startTape();
    startPlayer();
}

void Stage::plugOutputs() {
    lab_.emplace(server_.socket());
    for (const StoryOutput& output : story_.outputs)
        lab_->plug(outputs_.at(output.uid));
}

void Stage::write() {
    player_.reset();
    velto_.reset();
    tape_.pause();
    for (const StoryOutput& output : story_.outputs)
        tape_.write(output.uid, options_.folder / output.recording);
    judge::writeStory(story_, options_.folder / "story.json");
}

// Steps

void Stage::step(const std::string& name, const std::string& expected, const Expectation& expectation,
                 const Act& act) {
    StoryStep step;
    step.name = name;
    step.expected = expected;
    step.sound = expectation.sound;
    try {
        act(step);
    } catch (const std::exception& error) {
        if (isInterrupted) throw;
        step.problem = error.what();
    }
    listen(step, expectation);
    story_.steps.push_back(std::move(step));
}

void Stage::listen(StoryStep& step, const Expectation& expectation) {
    if (step.from == 0) step.from = settled();
    if (step.to == 0) step.to = std::max(step.from, now()) + listening;
    waitUntil(step.to + 0.1);
    step.defaultOutput = {expectation.defaultOutput, lab_->defaultOutput()};
    step.alertOutput = {expectation.defaultOutput, alertOutput()};
    step.record = {expectation.record, hasRecord()};
}

bool Stage::hasRecord() const {
    std::ifstream file(server_.folder() / "config/velto/defaults.json");
    const json defaults = json::parse(file, nullptr, false);
    return defaults.is_object() && defaults.contains(recordKey);
}

std::string Stage::alertOutput() {
    const auto chosen = lab_->defaultMetadata("velto.alert.sink");
    const json object = chosen ? json::parse(*chosen, nullptr, false) : json();
    return object.is_object() ? object.value("name", "") : lab_->defaultOutput();
}

// The program

RunningVelto& Stage::velto() {
    check(velto_.has_value(), "Velto does not run");
    return *velto_;
}

void Stage::launchVelto() {
    RunningVelto::Environment environment = server_.environment();
    environment["DBUS_SYSTEM_BUS_ADDRESS"] = bus_.address();
    velto_.emplace(options_.program, std::move(environment), options_.folder / "velto.log");
}

void Stage::killVelto() {
    velto().process().kill();
    velto_.reset();
}

void Stage::wake() {
    login_.wake();
    waitUntil(now() + timeAfterWake);
}

void Stage::operate(StoryStep& step, const std::string& label, const RunningVelto::Words& command) {
    mark(label);
    const RunningVelto::Answer answer = velto().command(command);
    step.milliseconds = answer.milliseconds;
    step.limitMilliseconds = operationLimit;
    check(answer.exitStatus == 0, answer.error);
}

void Stage::startOn(StoryStep& step, const std::string& first, const std::string& second) {
    step.skewLimit = 0;
    operate(step, "Play Together", {"play", first, second});
}

// The outputs

double Stage::unplug(const std::string& output) {
    mark(name(output) + " unplugged");
    return tape_.seconds(lab_->unplug(output));
}

double Stage::plug(const std::string& output) {
    const double time = tape_.seconds(lab_->plug(outputs_.at(output)));
    mark(name(output) + " plugged in");
    return time;
}

void Stage::expectReturn(StoryStep& step, const std::string& output, double event) {
    const double cycle = static_cast<double>(tape_.quantum()) * 1000.0 / OutputRecorder::sampleRate;
    step.returning = {output, event, cycle + returnLimit};
}

void Stage::pickForGood(const std::string& output) {
    mark(name(output) + " picked");
    lab_->pickDefault(output);
    const auto isSaved = [&] {
        std::ifstream file(server_.folder() / "state/wireplumber/default-nodes");
        const std::string saved(std::istreambuf_iterator<char>(file), {});
        return saved.find("default.configured.audio.sink=" + output + "\n") != std::string::npos;
    };
    waitWhile([&] { return !isSaved(); }, "The session manager doesn't save its choice");
}

const std::string& Stage::name(const std::string& output) const {
    return std::ranges::find(story_.outputs, output, &StoryOutput::uid)->name;
}

// Player, server and tape

void Stage::startPlayer() {
    player_.emplace(std::vector<std::string>{"pw-play", (options_.folder / story_.source).string()},
                    ChildProcess::Options{server_.environment(), options_.folder / "player.log", false});
}

void Stage::endPlayer() { player_.reset(); }

void Stage::killServer() {
    server_.kill();
    tape_.pause();
    player_.reset();
}

void Stage::restartServer() {
    lab_.reset();
    server_.start();
    plugOutputs();
}

void Stage::startTape() { tape_.record(*lab_, longestStory); }

// Time

double Stage::mark(const std::string& label) {
    const double time = now();
    story_.events.push_back({time, label});
    return time;
}

double Stage::settled() const { return now() + settling; }

void Stage::waitUntil(double second) const {
    while (!isInterrupted && now() < second)
        tape_.waitUntil(std::min(second, now() + 0.05));
    if (isInterrupted) throw std::runtime_error("The showcase was interrupted");
}

void Stage::waitForSound(const std::string& output) const {
    const double begin = now();
    waitWhile([&] { return tape_.heardUntil(output) < begin; }, name(output) + " is not heard");
}

void Stage::waitForSilence(const std::string& output) const {
    waitWhile([&] { return tape_.heardUntil(output) > now() - 0.1; },
              name(output) + " doesn't become silent");
}

void Stage::waitWhile(const std::function<bool()>& condition, const std::string& problem) const {
    const double begin = now();
    while (condition()) {
        check(now() < begin + patience, problem);
        waitUntil(now() + 0.01);
    }
}

void Stage::check(bool holds, const std::string& problem) {
    if (!holds) throw std::runtime_error(problem);
}

} // namespace velto
