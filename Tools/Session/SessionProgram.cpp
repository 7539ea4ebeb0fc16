#include "Tools/Session/SessionProgram.h"

#include <nlohmann/json.hpp>

#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <iostream>
#include <sstream>
#include <stdexcept>

namespace velto {

using nlohmann::json;

namespace {

/// How long an output that came back may be picked by the system before that counts as somebody's choice.
constexpr double reconnectionWindow = 15;

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
      recoveryStore_(defaults_), session_(client_, devices_, aggregates_, recoveryStore_, actor_),
      tasks_(actor_) {
    stateSubscription_ = session_.observeState([this] { reportState(); });
    devices_.onChange([this] { devicesChanged(); });
    devices_.startObserving();
    actor_.watchReadable(terminationSignals_, [this] {
        signalfd_siginfo received{};
        [[maybe_unused]] const ssize_t size = read(terminationSignals_, &received, sizeof received);
        tasks_.spawn(endProgram());
    });
    actor_.watchReadable(STDIN_FILENO, [this] { readInput(); });
}

SessionProgram::~SessionProgram() { close(terminationSignals_); }

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
        answerDevices(line);
    } else {
        answer(line, 0, "The commands are: start UID UID, stop, recover, state, devices");
    }
}

Task<void> SessionProgram::start(std::string command, std::string firstUID, std::string secondUID) {
    std::string error;
    const ContinuousInstant begin = actor_.continuousNow();
    try {
        const auto first = devices_.device(firstUID);
        const auto second = devices_.device(secondUID);
        if (!first) throw AudioManagerError::deviceNotFound(firstUID);
        if (!second) throw AudioManagerError::deviceNotFound(secondUID);
        const std::string name(AggregateDeviceManager::defaultName);
        Task<void> started = session_.start(*first, *second, name, std::nullopt, ClockStrategy::automatic);
        co_await std::move(started);
    } catch (const std::exception& thrown) {
        error = thrown.what();
    }
    const Duration taken = actor_.continuousNow() - begin;
    answer(command, std::chrono::duration<double, std::milli>(taken).count(), error);
}

Task<void> SessionProgram::stop(std::string command) {
    std::string error;
    const ContinuousInstant begin = actor_.continuousNow();
    try {
        co_await session_.stop();
    } catch (const std::exception& thrown) {
        error = thrown.what();
    }
    const Duration taken = actor_.continuousNow() - begin;
    answer(command, std::chrono::duration<double, std::milli>(taken).count(), error);
}

Task<void> SessionProgram::recover(std::string command) {
    const ContinuousInstant begin = actor_.continuousNow();
    const bool hasRecovered = co_await session_.recoverIfNeeded();
    const Duration taken = actor_.continuousNow() - begin;
    answer(command, std::chrono::duration<double, std::milli>(taken).count(),
           hasRecovered ? "" : "There was nothing to recover");
}

Task<void> SessionProgram::endProgram() {
    if (std::exchange(isEnding_, true)) co_return;
    co_await session_.operationEnded();
    try {
        co_await session_.stop();
    } catch (const std::exception& thrown) {
        print({{"event", "error"}, {"error", thrown.what()}});
    }
    devices_.stopObserving();
    actor_.quit();
}

void SessionProgram::devicesChanged() {
    const auto session = session_.activeSession();
    if (!session || session_.isOperationRunning()) return;
    const auto& output = devices_.defaultOutputDevice();
    if (output && output->uid != session->aggregateUID) {
        const bool isOurs = output->uid == session->first.uid || output->uid == session->second.uid;
        if (!isOurs || !devices_.wasRecentlyConnected(output->uid, reconnectionWindow)) {
            tasks_.spawn(abandon());
            return;
        }
        session_.reassertDefaultOutput();
    }
    session_.updateDegradedState();
}

Task<void> SessionProgram::abandon() { co_await session_.abandonSession(); }

void SessionProgram::reportState() {
    static constexpr std::array names{"idle", "starting", "active", "degraded", "stopping", "failed"};
    static_assert(std::variant_size_v<AudioSessionState::Kind> == names.size());
    print({{"event", "state"}, {"state", names.at(session_.state().kind().index())}});
}

void SessionProgram::answer(const std::string& command, double milliseconds, const std::string& error) const {
    print({{"done", command}, {"milliseconds", milliseconds}, {"error", error}});
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
           {"record", recoveryStore_.loadRecoveryState().has_value()}});
}

} // namespace velto
