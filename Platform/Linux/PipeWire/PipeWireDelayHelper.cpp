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

/// Of a program that beats every tenth of a second; the second look in vain in succession says that it hangs.
constexpr Duration lookInterval = std::chrono::milliseconds(250);
constexpr int mostLooksInVain = 2;
/// It starts within a hundredth of a second, where the machine isn't busy.
constexpr Duration startDeadline = std::chrono::seconds(5);
/// A look that comes later than that comes from a program, or a machine, that slept itself.
constexpr Duration mostLateness = std::chrono::milliseconds(100);

/// What a process is started with: in a session of its own, with nothing of this one's but the socket and the
/// place for what goes wrong. Signals are as a program expects them.
class Spawning {
  public:
    explicit Spawning(int socket) {
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_adddup2(&files, socket, STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&files, socket, STDOUT_FILENO);
        posix_spawn_file_actions_addclosefrom_np(&files, STDERR_FILENO + 1);
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
    awaitStart();
    awaitBeat();
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
    const Spawning spawning(ends[1]);
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

bool PipeWireDelayHelper::listen() {
    std::array<char, 4096> bytes{};
    bool hasHeard = false;
    for (ssize_t count = 0; (count = recv(line_, bytes.data(), bytes.size(), MSG_DONTWAIT)) > 0;) {
        unread_.append(bytes.data(), static_cast<std::size_t>(count));
        hasHeard = true;
    }
    for (std::size_t end = 0; (end = unread_.find('\n')) != std::string::npos; unread_.erase(0, end + 1)) {
        const std::string_view line = std::string_view(unread_).substr(0, end);
        if (line == DelayNames::beat) isBeating_ = true;
        if (line == DelayNames::rest) isBeating_ = false;
    }
    return hasHeard;
}

void PipeWireDelayHelper::awaitStart() {
    attention_ = actor_.postAfter(startDeadline, [this, due = actor_.continuousNow() + startDeadline] {
        attention_.reset();
        if (actor_.continuousNow() - due > mostLateness) return awaitStart();
        finish("It hangs at its start");
    });
}

void PipeWireDelayHelper::awaitBeat() {
    watcher_.watchReadable(line_, [this] {
        const bool hasHeard = listen();
        if (hasHeard && !std::exchange(hasStarted_, true))
            actor_.cancelTimer(*std::exchange(attention_, std::nullopt));
        // Nothing to hear: the other end is closed, and the end of the process follows.
        if (!hasHeard || isBeating_) watcher_.unwatch(line_);
        if (isBeating_) attend();
    });
}

void PipeWireDelayHelper::attend() {
    attention_ =
        actor_.postAfter(lookInterval, [this, due = actor_.continuousNow() + lookInterval] { look(due); });
}

void PipeWireDelayHelper::look(ContinuousInstant due) {
    attention_.reset();
    const bool isLate = actor_.continuousNow() - due > mostLateness;
    const bool hasHeard = listen();
    looksInVain_ = hasHeard || isLate ? 0 : looksInVain_ + 1;
    if (!isBeating_) return awaitBeat();
    if (looksInVain_ >= mostLooksInVain) return finish("It hangs");
    attend();
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
    if (attention_) actor_.cancelTimer(*std::exchange(attention_, std::nullopt));
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
