// ChildProcess: a program started for a test or a demonstration, ended with its owner whatever happens.
//
// The kernel kills it should the owner die first. One thread at a time.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velto {

class ChildProcess {
  public:
    struct Options {
        /// Added to, and replacing, this process's environment; an empty value removes the variable.
        std::map<std::string, std::string> environment;
        /// Where standard error goes, and standard output unless it is read; empty for /dev/null.
        std::string logFile;
        /// Whether writeLine and readLine are used.
        bool hasPipes = false;
    };

    /// Throws std::runtime_error with one sentence when the program can't be started.
    ChildProcess(std::vector<std::string> command, Options options);
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    /// Asks it to end (SIGTERM), and kills it after two seconds.
    ~ChildProcess();

    pid_t id() const noexcept { return id_; }
    bool isRunning();
    /// The exit status; 128 and more for a signal. None when it still runs after the timeout.
    std::optional<int> wait(std::chrono::milliseconds timeout);
    void signal(int number);
    /// SIGKILL, and waits until it is gone.
    void kill();

    void writeLine(const std::string& line);
    /// The next line; none when the program ended or nothing came in time.
    std::optional<std::string> readLine(std::chrono::milliseconds timeout);

  private:
    std::vector<std::string> command_;
    pid_t id_ = -1;
    int descriptor_ = -1; // a pidfd: readable when the program has ended
    int input_ = -1;
    int output_ = -1;
    std::string buffered_;
    std::optional<int> status_;
};

/// What a program has said last, as its log has it; "nothing" where it has said nothing.
std::string lastLineOf(const std::filesystem::path& log);

} // namespace velto
