#include "Tools/Session/SessionProgram.h"

#include <nlohmann/json.hpp>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace velto {

using nlohmann::json;

namespace {

constexpr Duration timeAfterWake = std::chrono::seconds(2);

double number(const std::string& word) { return std::atof(word.c_str()); }

void print(const json& object) {
    std::cout << object.dump(-1, ' ', false, json::error_handler_t::replace) << std::endl;
}

} // namespace

SessionProgram::SessionProgram()
    : defaults_(FileUserDefaults::standardFile(), actor_), client_(actor_, actor_),
      devices_(client_, actor_, collation_), aggregates_(client_, actor_), preferences_(defaults_, actor_),
      session_(client_, devices_, aggregates_, preferences_, actor_), syncProfiles_(defaults_, actor_),
      volumes_(client_),
      coordinator_(devices_, session_, preferences_, volumes_, syncEngine_, syncProfiles_, actor_),
      serviceMonitor_(client_, devices_, volumes_, coordinator_, actor_), engine_(client_, actor_),
      syncTest_(actor_, engine_), tasks_(actor_) {
    subscriptions_.push_back(session_.observeState([this] { reportState(); }));
    subscriptions_.push_back(coordinator_.observe([this] { reportQuestion(); }));
    subscriptions_.push_back(volumes_.observeStates([this] { reportVolumes(); }));
    subscriptions_.push_back(syncTest_.observeIsPlaying([this] { reportClick(); }));
    serviceMonitor_.start();
    terminationSignals_.observe(actor_, [this] { tasks_.spawn(endProgram()); });
    actor_.watchReadable(STDIN_FILENO, [this] { readInput(); });
}

SessionProgram::~SessionProgram() { serviceMonitor_.stop(); }

void SessionProgram::run() {
    print({{"event", "ready"}, {"connected", client_.isConnected()}});
    actor_.run();
}

void SessionProgram::readInput() {
    std::array<char, 4096> bytes{};
    const ssize_t count = read(STDIN_FILENO, bytes.data(), bytes.size());
    if (count <= 0) {
        actor_.unwatch(STDIN_FILENO);
        tasks_.spawn(endProgram());
        return;
    }
    input_.append(bytes.data(), static_cast<std::size_t>(count));
    for (std::size_t end = input_.find('\n'); end != std::string::npos; end = input_.find('\n')) {
        perform(input_.substr(0, end));
        input_.erase(0, end + 1);
    }
}

void SessionProgram::perform(std::string line) {
    std::istringstream stream(line);
    Words words;
    stream >> words.command >> words.first >> words.second >> words.third;
    const std::string& command = words.command;
    if (command == "start" && !words.second.empty()) {
        tasks_.spawn(start(line, words.first, words.second));
    } else if (command == "stop") {
        tasks_.spawn(stop(line));
    } else if (command == "reset") {
        tasks_.spawn(reset(line));
    } else if (command == "recover") {
        tasks_.spawn(recover(line));
    } else if (command == "state" || command == "devices") {
        tasks_.spawn(answerState(line));
    } else if (command == "activate" && !words.first.empty()) {
        tasks_.spawn(activate(line, words.first));
    } else if (command == "answer" && (words.first == "keep" || words.first == "stop")) {
        tasks_.spawn(resolve(line, words.first));
    } else if (command == "wake") {
        tasks_.spawn(wake(line));
    } else if (command == "preset" && !words.first.empty()) {
        answerPreset(line, words.first);
    } else {
        answer(line, actor_.continuousNow(), performAtOnce(words));
    }
}

/// A command that waits for nothing; answers what is wrong with it.
std::string SessionProgram::performAtOnce(const Words& words) {
    if (words.command == "sleep") return ""; // nothing is done then
    if (words.command == "volume" || words.command == "master") return performOnVolumes(words);
    if (words.command == "save" && !words.first.empty())
        return coordinator_.saveCurrentSessionAsPreset(words.first) ? "" : "There is no session to save";
    if (words.command == "click" && !words.third.empty()) {
        syncTest_.start(static_cast<float>(number(words.first)), number(words.second), number(words.third));
        return syncTest_.isPlaying() ? "" : "The sync test could not be started";
    }
    return performOnPreferences(words);
}

std::string SessionProgram::performOnVolumes(const Words& words) {
    if (words.command == "master") {
        volumes_.setMasterVolume(static_cast<float>(number(words.first)));
        return volumes_.supportsMasterVolume() ? "" : "No output that plays has a volume";
    }
    volumes_.setVolume(static_cast<float>(number(words.second)), words.first);
    return volumes_.state(words.first) ? "" : "That output does not play";
}

std::string SessionProgram::performOnPreferences(const Words& words) {
    if (words.command == "autoconnect" && !words.first.empty()) {
        const auto saved = preset(words.first);
        if (!saved) return "There is no such preset";
        preferences_.autoConnect.set(true);
        preferences_.setAutoConnect(true, saved->id);
        return "";
    }
    if (const auto behavior = disconnectBehavior(words.first); words.command == "disconnect" && behavior) {
        preferences_.disconnectBehavior.set(*behavior);
        return "";
    }
    return "The commands are: start UID UID, stop, reset, recover, state, devices, volume UID NUMBER, "
           "master NUMBER, save NAME, activate NAME, preset NAME, autoconnect NAME, "
           "disconnect keepPlaying|pauseGroup|askUser, answer keep|stop, click VOLUME SECONDS INTERVAL, "
           "sleep, wake";
}

std::optional<AudioPreset> SessionProgram::preset(const std::string& named) const {
    for (AudioPreset& saved : preferences_.userPresets())
        if (saved.name == named) return std::move(saved);
    return std::nullopt;
}

/// What a launch does, once: cleans up after an earlier run, then follows the devices.
Task<void> SessionProgram::launched() {
    if (std::exchange(isLaunched_, true)) co_return;
    devices_.refresh();
    co_await coordinator_.start();
}

Task<void> SessionProgram::start(std::string command, std::string firstUID, std::string secondUID) {
    co_await launched();
    const auto first = devices_.device(firstUID);
    const auto second = devices_.device(secondUID);
    const ContinuousInstant begin = actor_.continuousNow();
    if (!first || !second) {
        const auto missing = AudioManagerError::deviceNotFound(first ? secondUID : firstUID);
        answer(command, begin, missing.errorDescription());
        co_return;
    }
    Task<void> started = coordinator_.startDualOutput(*first, *second);
    co_await std::move(started);
    answer(command, begin, errorText());
}

Task<void> SessionProgram::activate(std::string command, std::string name) {
    co_await launched();
    const ContinuousInstant begin = actor_.continuousNow();
    auto saved = preset(name);
    if (!saved) {
        answer(command, begin, "There is no such preset");
        co_return;
    }
    Task<void> activated = coordinator_.activatePreset(std::move(*saved));
    co_await std::move(activated);
    answer(command, begin, errorText());
}

Task<void> SessionProgram::stop(std::string command) {
    co_await launched();
    const ContinuousInstant begin = actor_.continuousNow();
    co_await coordinator_.stopDualOutput();
    answer(command, begin, errorText());
}

Task<void> SessionProgram::reset(std::string command) {
    co_await launched();
    const ContinuousInstant begin = actor_.continuousNow();
    co_await coordinator_.resetAudioConfiguration();
    answer(command, begin, errorText());
}

Task<void> SessionProgram::resolve(std::string command, std::string decision) {
    const ContinuousInstant begin = actor_.continuousNow();
    if (!coordinator_.pendingDisconnectDecision()) {
        answer(command, begin, "There was no question");
        co_return;
    }
    const bool keepsPlaying = decision == "keep";
    co_await coordinator_.resolveDisconnect(keepsPlaying);
    answer(command, begin, errorText());
}

/// What a desktop program does when it is told that the machine woke: gives the devices time to return.
Task<void> SessionProgram::wake(std::string command) {
    co_await actor_.sleep(timeAfterWake);
    const ContinuousInstant begin = actor_.continuousNow();
    defaults_.synchronize();
    coordinator_.handleWake();
    answer(command, begin, "");
}

Task<void> SessionProgram::recover(std::string command) {
    const ContinuousInstant begin = actor_.continuousNow();
    const bool isNeeded = !isLaunched_ && preferences_.loadRecoveryState().has_value();
    co_await launched();
    answer(command, begin, isNeeded ? "" : "There was nothing to recover");
}

Task<void> SessionProgram::answerState(std::string command) {
    co_await launched();
    answerDevices(command);
}

Task<void> SessionProgram::endProgram() {
    if (std::exchange(isEnding_, true)) co_return;
    serviceMonitor_.stop();
    co_await coordinator_.shutdown();
    actor_.quit();
}

std::string SessionProgram::errorText() const {
    const auto& error = coordinator_.lastError();
    return error ? error->errorDescription() : "";
}

void SessionProgram::reportState() {
    static constexpr std::array names{"idle", "starting", "active", "degraded", "stopping", "failed"};
    static_assert(std::variant_size_v<AudioSessionState::Kind> == names.size());
    print({{"event", "state"}, {"state", names.at(session_.state().kind().index())}});
}

/// The output about which the user is asked; empty when the question is gone.
void SessionProgram::reportQuestion() {
    const auto& asked = coordinator_.pendingDisconnectDecision();
    const std::string uid = asked ? asked->uid : "";
    if (std::exchange(question_, uid) != uid) print({{"event", "question"}, {"uid", uid}});
}

void SessionProgram::reportVolumes() {
    const auto before = std::exchange(volumeStates_, volumes_.states());
    for (const DeviceVolumeState& state : volumeStates_) {
        if (std::ranges::find(before, state) != before.end()) continue;
        print({{"event", "volume"},
               {"uid", state.uid},
               {"volume", state.volume},
               {"muted", state.isMuted},
               {"connected", state.isConnected}});
    }
}

void SessionProgram::reportClick() { print({{"event", "click"}, {"playing", syncTest_.isPlaying()}}); }

void SessionProgram::answer(const std::string& command, ContinuousInstant begin,
                            const std::string& error) const {
    const std::chrono::duration<double, std::milli> taken = actor_.continuousNow() - begin;
    print({{"done", command}, {"milliseconds", taken.count()}, {"error", error}});
}

void SessionProgram::answerDevices(const std::string& command) {
    json list = json::array();
    for (const AudioOutputDevice& device : devices_.devices())
        list.push_back({{"uid", device.uid},
                        {"name", device.name},
                        {"transport", device.transportType.displayName()},
                        {"channels", device.outputChannelCount},
                        {"sampleRate", device.sampleRate}});
    const auto alert = [this] {
        try {
            return session_.currentSystemOutputUID();
        } catch (const std::exception&) {
            return std::string();
        }
    }();
    const auto& output = devices_.defaultOutputDevice();
    print({{"done", command},
           {"devices", list},
           {"defaultOutput", output ? output->uid : ""},
           {"alertOutput", alert},
           {"record", preferences_.loadRecoveryState().has_value()}});
}

/// The volumes that a preset holds, by UID.
void SessionProgram::answerPreset(const std::string& command, const std::string& name) {
    const auto saved = preset(name);
    json volumes = json::object();
    if (saved)
        for (const auto& [uid, settings] : saved->deviceSettings)
            if (settings.volume) volumes[uid] = *settings.volume;
    print({{"done", command},
           {"volumes", volumes},
           {"active", saved && coordinator_.activePresetID() == saved->id},
           {"error", saved ? "" : "There is no such preset"}});
}

} // namespace velto
