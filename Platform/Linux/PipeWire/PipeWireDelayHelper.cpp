#include "Platform/Linux/PipeWire/PipeWireDelayHelper.h"

#include "Platform/Linux/Delay/DelayCommand.h"
#include "Platform/Linux/Delay/DelayNames.h"
#include "Platform/Linux/PipeWire/PipeWireText.h"
#include "Platform/Linux/ProgramParts.h"
#include "VeltoCore/Services/LoggingService.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <string_view>

extern char** environ; // NOLINT: the system's

namespace velto {

namespace {

constexpr Duration answerDeadline = std::chrono::milliseconds(250);
/// It starts within a hundredth of a second, where the machine isn't busy.
constexpr Duration startDeadline = std::chrono::seconds(5);
/// A deadline that comes later than that comes in a program, or on a machine, that slept itself.
constexpr Duration mostLateness = std::chrono::milliseconds(100);

/// What a process is started with: in a session of its own, with nothing of this one's but the socket, the
/// watchdog and the place for what goes wrong. Signals are as a program expects them.
class Spawning {
  public:
    Spawning(int socket, int watchdog) {
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_adddup2(&files, socket, STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&files, socket, STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&files, watchdog, Watchdog::inheritedDescriptor);
        posix_spawn_file_actions_addclosefrom_np(&files, Watchdog::inheritedDescriptor + 1);
        posix_spawnattr_init(&attributes);
        sigset_t signals;
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&attributes, &signals);
        sigfillset(&signals);
        posix_spawnattr_setsigdefault(&attributes, &signals);
        posix_spawnattr_setflags(&attributes,
                                 POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    Spawning(const Spawning&) = delete;
    Spawning& operator=(const Spawning&) = delete;
    ~Spawning() {
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&files);
    }

    posix_spawn_file_actions_t files{};
    posix_spawnattr_t attributes{};
};

} // namespace

PipeWireDelayHelper::PipeWireDelayHelper(MainActor& actor, FileDescriptorWatcher& watcher,
                                         const std::string& remote, const std::string& aggregate,
                                         Outputs outputs, Ended ended)
    : actor_(actor), watcher_(watcher), outputs_(std::move(outputs)), ended_(std::move(ended)) {
    start(remote, aggregate);
    watcher_.watchReadable(descriptor_, [this] { this->ended(); });
    watcher_.watchReadable(line_, [this] {
        if (!listen()) watcher_.unwatch(line_); // the other end is closed: the end of the process follows
    });
    watcher_.watchReadable(watchdog_.descriptor(), [this] { watchdogHasRunOut(); });
    awaitWord(startDeadline, "It hangs at its start");
}

PipeWireDelayHelper::~PipeWireDelayHelper() { release(); }

void PipeWireDelayHelper::start(const std::string& remote, const std::string& aggregate) {
    const std::filesystem::path program = programPart("velto-delay");
    std::vector<std::string> words{program.native(), remote, aggregate};
    for (const auto& [output, delay] : outputs_) {
        words.push_back(PipeWireText::toServer(output)); // by which it finds it there
        words.push_back(numberText(delay));
    }
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);

    std::array<int, 2> ends{-1, -1};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        throw std::runtime_error(program.native() + " could not be reached: " + std::strerror(errno));
    const Spawning spawning(ends[1], watchdog_.descriptor());
    const int error = posix_spawn(&process_, program.c_str(), &spawning.files, &spawning.attributes,
                                  arguments.data(), environ);
    close(ends[1]);
    line_ = ends[0];
    if (error == 0) descriptor_ = static_cast<int>(syscall(SYS_pidfd_open, process_, 0U));
    if (error == 0 && descriptor_ >= 0) return;
    const std::string reason = std::strerror(error != 0 ? error : errno);
    if (error != 0) process_ = -1;
    release();
    throw std::runtime_error(program.native() + " could not be started: " + reason);
}

void PipeWireDelayHelper::setDelays(const std::map<std::string, double>& delays) {
    for (std::size_t place = 0; place < outputs_.size(); ++place) {
        auto& [output, delay] = outputs_[place];
        const auto wanted = delays.find(output);
        if (wanted == delays.end() || wanted->second == delay) continue;
        delay = wanted->second;
        send(delayCommandText(SetDelay{place, delay}));
    }
}

std::size_t PipeWireDelayHelper::place(const std::string& output) const {
    const auto found = std::ranges::find(outputs_, output, &Outputs::value_type::first);
    return static_cast<std::size_t>(found - outputs_.begin());
}

void PipeWireDelayHelper::playSweeps(const std::string& rising, const std::string& falling, double peak) {
    send(delayCommandText(PlaySweeps{place(rising), place(falling), peak}));
}

void PipeWireDelayHelper::endSweeps() { send(delayCommandText(EndSweeps{})); }

void PipeWireDelayHelper::send(const std::string& line) {
    if (!isRunning()) return;
    const std::string bytes = line + "\n";
    if (::send(line_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT) < 0)
        LoggingService::audioDevices.error("The program that delays takes no commands: {}",
                                           std::strerror(errno));
}

/// All that it ever says is that it is well.
bool PipeWireDelayHelper::listen() {
    std::array<char, 256> bytes{};
    if (recv(line_, bytes.data(), bytes.size(), MSG_DONTWAIT) <= 0) return false;
    if (deadline_) actor_.cancelTimer(*std::exchange(deadline_, std::nullopt));
    if (!std::exchange(hasStarted_, true)) expectSound(); // it may run already
    return true;
}

/// At every end of a sound, too, and where the server is held up.
void PipeWireDelayHelper::watchdogHasRunOut() {
    if (!watchdog_.takeExpiry() || deadline_) return;
    send(delayCommandText(Ping{}));
    awaitWord(answerDeadline, "It hangs");
}

void PipeWireDelayHelper::awaitWord(Duration time, const char* otherwise) {
    deadline_ = actor_.postAfter(time, [this, time, otherwise, due = actor_.continuousNow() + time] {
        deadline_.reset();
        if (listen()) return;
        if (actor_.continuousNow() - due > mostLateness) return awaitWord(time, otherwise);
        finish(otherwise);
    });
}

void PipeWireDelayHelper::ended() {
    int status = 0;
    if (waitpid(process_, &status, 0) == process_) process_ = -1;
    finish(WIFSIGNALED(status) ? "It was ended by signal " + std::to_string(WTERMSIG(status))
                               : "It ended with status " + std::to_string(WEXITSTATUS(status)));
}

void PipeWireDelayHelper::finish(const std::string& why) {
    release();
    const Ended ended = std::move(ended_); // this object may go meanwhile
    if (ended) ended(why);
}

void PipeWireDelayHelper::release() noexcept {
    if (deadline_) actor_.cancelTimer(*std::exchange(deadline_, std::nullopt));
    watcher_.unwatch(watchdog_.descriptor());
    if (process_ > 0) {
        // Also one that hangs. It has nothing to put back: what it made goes with it.
        kill(process_, SIGKILL);
        while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {}
    }
    process_ = -1;
    for (int* const descriptor : {&descriptor_, &line_}) {
        if (*descriptor < 0) continue;
        watcher_.unwatch(*descriptor);
        close(std::exchange(*descriptor, -1));
    }
}

} // namespace velto
