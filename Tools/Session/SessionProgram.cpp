#include "Tools/Session/SessionProgram.h"

#include <nlohmann/json.hpp>

#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

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

void print(const json& object) {
    std::cout << object.dump(-1, ' ', false, json::error_handler_t::replace) << std::endl;
}

/// Takes SIGTERM and SIGINT from their default action; they are read from the descriptor instead.
int terminationDescriptor() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
}

} // namespace

SessionProgram::SessionProgram()
    : terminationSignals_(terminationDescriptor()), defaults_(FileUserDefaults::standardFile(), actor_),
      client_(actor_, actor_), devices_(client_, actor_, collation_), aggregates_(client_, actor_),
      preferences_(defaults_, actor_), session_(client_, devices_, aggregates_, preferences_, actor_),
      syncProfiles_(defaults_, actor_), volumes_(client_),
      coordinator_(devices_, session_, preferences_, volumes_, syncEngine_, syncProfiles_, actor_),
      tasks_(actor_) {
    stateSubscription_ = session_.observeState([this] { reportState(); });
    serviceListener_ =
        client_.addPropertyListener(kAudioObjectSystemObject, kAudioHardwarePropertyServiceRestarted,
                                    kAudioObjectPropertyScopeGlobal, [this] { coordinator_.handleWake(); });
    actor_.watchReadable(terminationSignals_, [this] {
        signalfd_siginfo received{};
        [[maybe_unused]] const ssize_t size = read(terminationSignals_, &received, sizeof received);
        tasks_.spawn(endProgram());
    });
    actor_.watchReadable(STDIN_FILENO, [this] { readInput(); });
}

SessionProgram::~SessionProgram() {
    client_.removePropertyListener(serviceListener_);
    close(terminationSignals_);
}

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
    std::istringstream words(line);
    std::string command, first, second;
    words >> command >> first >> second;
    if (command == "start" && !second.empty()) {
        tasks_.spawn(start(line, first, second));
    } else if (command == "stop") {
        tasks_.spawn(stop(line));
    } else if (command == "recover") {
        tasks_.spawn(recover(line));
    } else if (command == "state" || command == "devices") {
        tasks_.spawn(answerState(line));
    } else if (command == "activate" && !first.empty()) {
        tasks_.spawn(activate(line, first));
    } else {
        answer(line, actor_.continuousNow(), performAtOnce(command, first, second));
    }
}

/// A command that waits for nothing; answers what is wrong with it.
std::string SessionProgram::performAtOnce(const std::string& command, const std::string& first,
                                          const std::string& second) {
    if (command == "volume" && !second.empty()) {
        const double volume = std::atof(second.c_str());
        volumes_.setVolume(static_cast<float>(volume), first);
        coordinator_.updateActivePresetSettings();
        return volumes_.state(first) ? "" : "That output does not play";
    }
    if (command == "save" && !first.empty())
        return coordinator_.saveCurrentSessionAsPreset(first) ? "" : "There is no session to save";
    if (command == "autoconnect" && !first.empty()) {
        const auto saved = preset(first);
        if (!saved) return "There is no such preset";
        preferences_.setAutoConnect(true);
        preferences_.setAutoConnect(true, saved->id);
        return "";
    }
    if (const auto behavior = disconnectBehavior(first); command == "disconnect" && behavior) {
        preferences_.setDisconnectBehavior(*behavior);
        return "";
    }
    return "The commands are: start UID UID, stop, recover, state, devices, volume UID NUMBER, save NAME, "
           "activate NAME, autoconnect NAME, disconnect keepPlaying|pauseGroup|askUser";
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

} // namespace velto
