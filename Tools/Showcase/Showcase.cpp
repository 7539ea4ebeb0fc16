#include "Tools/Showcase/Showcase.h"

#include "Tools/SoundLab/VoiceRecording.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace velto {

namespace fs = std::filesystem;
using nlohmann::json;
using namespace std::chrono_literals;

namespace {

constexpr const char* desk = "velto.lab.desk";
constexpr const char* usb = "velto.lab.usb";
constexpr const char* speaker = "velto.lab.speaker";
constexpr const char* display = "velto.lab.display";
constexpr const char* aggregate = "com.corlent.velto.aggregate";
constexpr const char* recordKey = "com.corlent.velto.recoveryState";

constexpr double longestStory = 55; // seconds
/// After an act the player may need a moment to follow it.
constexpr double settling = 0.3;
constexpr double listening = 1.6;
// One sample on a busy machine: these catch what is wrong, not what is slow. The benchmarks hold the medians
// to 25 ms, and a hundred returns to a cycle of the graph and 5 ms.

/// What a start, a stop or a recovery may take, in milliseconds.
constexpr double operationLimit = 100;
/// A returning output may be silent for a cycle of the graph and this many milliseconds.
constexpr double returnLimit = 30;

} // namespace

std::atomic<bool> Showcase::isInterrupted = false;

Showcase::Showcase(Options options) : options_(std::move(options)), lab_(server_.socket()) {
    fs::create_directories(options_.folder);
    outputs_ = {{desk, VirtualOutput::builtIn(desk, "Desk Speakers")},
                {usb, VirtualOutput::usb(usb, "USB DAC")},
                {speaker, VirtualOutput::bluetooth(speaker, "Kitchen Speaker")},
                {display, VirtualOutput::hdmi(display, "Living Room TV")}};
    story_.outputs = {{desk, "Desk Speakers", "Built-in, 48 kHz"},
                      {usb, "USB DAC", "USB, 96 kHz"},
                      {speaker, "Kitchen Speaker", "Bluetooth, 48 kHz"},
                      {display, "Living Room TV", "HDMI, 44.1 kHz"}};
    story_.source = "source.wav";
    writeVoiceRecording(options_.folder / story_.source, longestStory);
    for (const StoryOutput& output : story_.outputs)
        lab_.plug(outputs_.at(output.uid));
    if (!lab_.waitForDefault(desk))
        throw std::runtime_error("The private sound server chose no default output");
    recorder_.emplace(lab_, std::vector<std::string>{desk, usb, speaker, display},
                      OutputRecorder::GraphClock::dummyDriver, longestStory);
    player_.emplace(std::vector<std::string>{"pw-play", (options_.folder / story_.source).string()},
                    ChildProcess::Options{server_.environment(), options_.folder / "player.log", false});
}

void Showcase::play() {
    playBefore();
    playSessionWithUnplug();
    playChoiceOfSomebodyElse();
    playCrashAndRecovery();
    playPreset();
    playUnattended();
    playNothingLeft();
}

void Showcase::write() {
    player_.reset();
    session_.reset();
    recorder_->stop();
    for (const StoryOutput& output : story_.outputs)
        recorder_->write(output.uid, options_.folder / recordingName(output));
    story_.write(options_.folder / "story.json", OutputRecorder::sampleRate);
}

// The story

void Showcase::playBefore() {
    step("before", "the default output alone plays", {{desk}, desk, false}, [this](StoryStep&) {
        launchSession();
        waitUntil(1.0);
    });
}

void Showcase::playSessionWithUnplug() {
    step("start on two outputs", "both play in step", {{desk, usb}, aggregate, true},
         [this](StoryStep& step) { startOn(step, desk, usb); });

    step("unplug one while it plays", "the other plays on, no sample lost", {{usb}, aggregate, true},
         [this](StoryStep& step) {
             mark("Desk Speakers unplugged");
             step.survivor = {usb, recorder_->timelineSeconds(lab_.unplug(desk)), 0};
             waitForState("degraded");
         });

    step("plug it back", "both play in step again", {{desk, usb}, aggregate, true}, [this](StoryStep& step) {
        const double limit = static_cast<double>(recorder_->quantum()) * 1000.0 / OutputRecorder::sampleRate;
        step.returned = {desk, recorder_->timelineSeconds(lab_.plug(outputs_.at(desk))), limit + returnLimit};
        step.skewLimitSamples = 0;
        mark("Desk Speakers plugged in");
        waitForState("active");
    });
}

void Showcase::playChoiceOfSomebodyElse() {
    step("another output picked by someone else", "the session ends, that output plays",
         {{display}, display, false}, [this](StoryStep&) {
             mark("Living Room TV picked");
             lab_.pickDefault(display);
             waitForState("idle");
         });
}

void Showcase::playCrashAndRecovery() {
    step("start again", "both play in step", {{desk, speaker}, aggregate, true},
         [this](StoryStep& step) { startOn(step, desk, speaker); });

    step("killed with SIGKILL while playing", "both play on", {{desk, speaker}, aggregate, true},
         [this](StoryStep& step) {
             step.survivor = {speaker, mark("SIGKILL"), 0};
             step.skewLimitSamples = 0;
             session_->kill();
             session_.reset();
         });

    step("launched again, recovery", "the output from before plays", {{display}, display, false},
         [this](StoryStep& step) {
             launchSession();
             mark("Recovery");
             const Answer answer = command("recover");
             step.milliseconds = answer.milliseconds;
             step.limitMilliseconds = operationLimit;
             step.problem = answer.error;
         });
}

void Showcase::playPreset() {
    step("start once more, save as a preset", "both play in step", {{usb, speaker}, aggregate, true},
         [this](StoryStep& step) {
             startOn(step, usb, speaker);
             require("volume " + std::string(usb) + " 0.5");
             require("save Evening");
         });

    step("stop", "the output from before plays", {{display}, display, false}, [this](StoryStep& step) {
        playStop(step);
        lab_.setChannelVolumes(usb, 1); // somebody turns it up
    });

    step("the preset, started", "both play in step, at its volumes", {{usb, speaker}, aggregate, true},
         [this](StoryStep& step) {
             mark("Preset");
             const Answer answer = command("activate Evening");
             step.milliseconds = answer.milliseconds;
             step.limitMilliseconds = operationLimit;
             step.skewLimitSamples = 0;
             step.problem = answer.error;
             // Half of the cubic scale is an eighth.
             const auto turnedDown = [this] { return std::abs(lab_.channelVolume(usb) - 0.125F) < 0.001F; };
             if (!lab_.waitUntil(turnedDown)) step.problem = "the volume saved with the preset is not set";
         });
}

void Showcase::playUnattended() {
    step("unplug one, set to stop then", "the output from before plays", {{display}, display, false},
         [this](StoryStep&) {
             require("disconnect pauseGroup");
             mark("USB DAC unplugged");
             lab_.unplug(usb);
             waitForState("idle");
         });

    step("plug it back, set to connect then", "the preset starts by itself",
         {{usb, speaker}, aggregate, true}, [this](StoryStep& step) {
             require("autoconnect Evening");
             lab_.plug(outputs_.at(usb));
             mark("USB DAC plugged in");
             waitForState("active");
             step.skewLimitSamples = 0;
         });

    step("stop again", "the output from before plays", {{display}, display, false},
         [this](StoryStep& step) { playStop(step); });
}

void Showcase::playStop(StoryStep& step) {
    mark("Stop");
    const Answer answer = command("stop");
    step.milliseconds = answer.milliseconds;
    step.limitMilliseconds = operationLimit;
    step.problem = answer.error;
}

void Showcase::playNothingLeft() {
    step("quit", "nothing is left behind", {{display}, display, false}, [this](StoryStep& step) {
        mark("Quit");
        session_->signal(SIGTERM);
        const auto status = session_->wait(3s);
        if (status != 0) step.problem = "the session program did not end by itself";
        if (lab_.exists(aggregate)) step.problem = "the aggregate is still there";
        for (const char* key : {"velto.previous.configured.sink", "velto.previous.force-rate"})
            if (lab_.settingsMetadata(key)) step.problem = std::string("the server still holds ") + key;
    });
}

// How a step is played

void Showcase::step(const std::string& name, const std::string& expected, const Expectation& expectation,
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

void Showcase::startOn(StoryStep& step, const std::string& first, const std::string& second) {
    mark("Play Together");
    const Answer answer = command("start " + first + " " + second);
    step.milliseconds = answer.milliseconds;
    step.limitMilliseconds = operationLimit;
    step.skewLimitSamples = 0;
    step.problem = answer.error;
}

void Showcase::listen(StoryStep& step, const Expectation& expectation) {
    step.from = now() + settling;
    step.to = step.from + listening;
    waitUntil(step.to + 0.1);
    step.defaultOutput = {expectation.defaultOutput, lab_.defaultOutput()};
    step.alertOutput = {expectation.defaultOutput, alertOutput()};
    step.record = {expectation.record, hasRecord()};
}

void Showcase::launchSession() {
    session_.emplace(std::vector<std::string>{options_.sessionProgram.string()},
                     ChildProcess::Options{server_.environment(), options_.folder / "session.log", true});
    sessionState_ = "idle";
    const auto ready = session_->readLine(5s);
    if (!ready) throw std::runtime_error("The session program did not start: see session.log");
}

Showcase::Answer Showcase::command(const std::string& line) {
    if (!session_) throw std::runtime_error("The session program does not run");
    session_->writeLine(line);
    while (const auto text = session_->readLine(8s)) {
        const json object = json::parse(*text, nullptr, false);
        if (object.value("event", "") == "state") sessionState_ = object.value("state", "");
        if (object.value("done", "") == line)
            return {object.value("milliseconds", 0.0), object.value("error", "")};
    }
    throw std::runtime_error("The session program did not answer: " + line);
}

void Showcase::require(const std::string& line) {
    const Answer answer = command(line);
    if (!answer.error.empty()) throw std::runtime_error(line + ": " + answer.error);
}

void Showcase::waitForState(const std::string& state) {
    while (sessionState_ != state) {
        const auto text = session_ ? session_->readLine(3s) : std::nullopt;
        if (!text) throw std::runtime_error("The session is " + sessionState_ + " and not " + state);
        const json object = json::parse(*text, nullptr, false);
        if (object.value("event", "") == "state") sessionState_ = object.value("state", "");
    }
}

double Showcase::now() const { return recorder_->timelineSeconds(monotonicNow()); }

void Showcase::waitUntil(double second) const {
    while (!isInterrupted && now() < second)
        recorder_->waitUntil(std::min(second, now() + 0.05));
    if (isInterrupted) throw std::runtime_error("The showcase was interrupted");
}

double Showcase::mark(const std::string& label) {
    const double time = now();
    story_.events.push_back({time, label});
    return time;
}

bool Showcase::hasRecord() const {
    std::ifstream file(server_.folder() / "config/velto/defaults.json");
    const json defaults = json::parse(file, nullptr, false);
    return defaults.is_object() && defaults.contains(recordKey);
}

std::string Showcase::alertOutput() {
    const auto chosen = lab_.defaultMetadata("velto.alert.sink");
    const json object = chosen ? json::parse(*chosen, nullptr, false) : json();
    return object.is_object() ? object.value("name", "") : lab_.defaultOutput();
}

} // namespace velto
