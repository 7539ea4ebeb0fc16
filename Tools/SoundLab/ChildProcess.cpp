#include "Tools/SoundLab/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <utility>

extern char** environ;

namespace velto {

namespace {

using Clock = std::chrono::steady_clock;

/// Waits until the descriptor can be read. False on timeout.
bool waitReadable(int descriptor, Clock::time_point deadline) {
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd ready{descriptor, POLLIN, 0};
        const int count = poll(&ready, 1, left > 0 ? static_cast<int>(left) : 0);
        if (count > 0) return true;
        if (count == 0 || errno != EINTR) return false;
    }
}

std::vector<std::string> mergedEnvironment(const std::map<std::string, std::string>& changes) {
    std::vector<std::string> result;
    for (char** entry = environ; *entry; ++entry) {
        const std::string text = *entry;
        if (!changes.contains(text.substr(0, text.find('=')))) result.push_back(text);
    }
    for (const auto& [name, value] : changes)
        if (!value.empty()) result.push_back(name + "=" + value);
    return result;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    for (std::string& text : texts)
        result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

/// A pair of sockets rather than a pipe: writing to a program that has ended is no signal there.
struct Pipe {
    int readEnd = -1;
    int writeEnd = -1;
    Pipe() {
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
            throw std::runtime_error("No pipe could be made for a program");
        readEnd = ends[0];
        writeEnd = ends[1];
    }
};

} // namespace

ChildProcess::ChildProcess(std::vector<std::string> command, Options options) : command_(std::move(command)) {
    auto environment = mergedEnvironment(options.environment);
    auto arguments = command_;
    const auto argumentPointers = pointers(arguments);
    const auto environmentPointers = pointers(environment);
    const std::string log = options.logFile.empty() ? "/dev/null" : options.logFile;
    const int logDescriptor = open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
    Pipe failure; // carries errno if the program can't be started; closed by a successful start
    std::optional<Pipe> input, output;
    if (options.hasPipes) {
        input.emplace();
        output.emplace();
    }
    const pid_t parent = getpid();
    id_ = fork();
    if (id_ == 0) {
        // Only async-signal-safe calls between fork and exec.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent) _exit(127);
        dup2(input ? input->readEnd : nothing, STDIN_FILENO);
        dup2(output ? output->writeEnd : logDescriptor, STDOUT_FILENO);
        dup2(logDescriptor, STDERR_FILENO);
        execvpe(argumentPointers[0], argumentPointers.data(), environmentPointers.data());
        const int error = errno;
        [[maybe_unused]] const ssize_t size = write(failure.writeEnd, &error, sizeof error);
        _exit(127);
    }
    close(failure.writeEnd);
    close(logDescriptor);
    close(nothing);
    if (input) {
        close(input->readEnd);
        close(output->writeEnd);
        input_ = input->writeEnd;
        output_ = output->readEnd;
    }
    int error = id_ < 0 ? EAGAIN : 0;
    if (read(failure.readEnd, &error, sizeof error) < 0) error = errno;
    close(failure.readEnd);
    if (error != 0) {
        if (id_ > 0) waitpid(id_, nullptr, 0);
        if (input_ >= 0) close(input_);
        if (output_ >= 0) close(output_);
        throw std::runtime_error("The program " + command_.front() +
                                 " can't be started: " + std::strerror(error));
    }
    descriptor_ = static_cast<int>(syscall(SYS_pidfd_open, id_, 0));
}

ChildProcess::~ChildProcess() {
    if (isRunning()) {
        signal(SIGTERM);
        if (!wait(std::chrono::seconds(2))) kill();
    }
    for (const int descriptor : {descriptor_, input_, output_})
        if (descriptor >= 0) close(descriptor);
}

bool ChildProcess::isRunning() { return !wait(std::chrono::milliseconds(0)).has_value(); }

std::optional<int> ChildProcess::wait(std::chrono::milliseconds timeout) {
    if (status_) return status_;
    if (!waitReadable(descriptor_, Clock::now() + timeout)) return std::nullopt;
    int status = 0;
    if (waitpid(id_, &status, 0) != id_) status = 0;
    status_ = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    return status_;
}

void ChildProcess::signal(int number) {
    if (isRunning()) ::kill(id_, number);
}

void ChildProcess::kill() {
    signal(SIGKILL);
    wait(std::chrono::seconds(10));
}

void ChildProcess::writeLine(const std::string& line) {
    const std::string text = line + "\n";
    std::size_t sent = 0;
    while (sent < text.size()) {
        const ssize_t count = send(input_, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0)
            throw std::runtime_error("The program " + command_.front() + " takes no commands any more");
        sent += static_cast<std::size_t>(count);
    }
}

std::optional<std::string> ChildProcess::readLine(std::chrono::milliseconds timeout) {
    const auto deadline = Clock::now() + timeout;
    for (;;) {
        if (const std::size_t end = buffered_.find('\n'); end != std::string::npos) {
            std::string line = buffered_.substr(0, end);
            buffered_.erase(0, end + 1);
            return line;
        }
        if (!waitReadable(output_, deadline)) return std::nullopt;
        char bytes[4096];
        const ssize_t count = read(output_, bytes, sizeof bytes);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return std::nullopt;
        buffered_.append(bytes, static_cast<std::size_t>(count));
    }
}

std::string lastLineOf(const std::filesystem::path& log) {
    std::ifstream stream(log);
    std::string last = "nothing";
    for (std::string line; std::getline(stream, line);)
        if (!line.empty()) last = std::move(line);
    return last;
}

} // namespace velto
