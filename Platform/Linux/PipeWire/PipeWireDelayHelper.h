// PipeWireDelayHelper: the program that delays outputs of one aggregate, run from here.
//
// While this object lives, so does the program; an end that was not asked for, or that the program hangs at
// its start or while sound runs, is told once, in a turn of the main loop. While it is well this costs
// nothing (Platform/Linux/Delay/Watchdog.h). Should Velto die, the program goes on by itself, and ends with
// the aggregate. It brings a node with ports named as in Platform/Linux/Delay/DelayNames.h, which the owner
// links. Used on the main actor; waits for nothing but the end of a program that is killed.
#pragma once

#include "Platform/Linux/Delay/Watchdog.h"
#include "Platform/POSIX/FileDescriptorWatcher.h"
#include "VeltoCore/Async/MainActor.h"

#include <sys/types.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace velto {

class PipeWireDelayHelper {
  public:
    /// Names of outputs in the order of their places, each with its delay in milliseconds.
    using Outputs = std::vector<std::pair<std::string, double>>;
    /// Why there is no program any more, as a sentence without its end. The helper may be destroyed from
    /// within.
    using Ended = std::function<void(const std::string& why)>;

    /// Starts the program. `remote` is the server's socket, empty for the user's own. Throws
    /// std::runtime_error, with a sentence without its end, when it can't be started.
    PipeWireDelayHelper(MainActor& actor, FileDescriptorWatcher& watcher, const std::string& remote,
                        const std::string& aggregate, Outputs outputs, Ended ended);
    PipeWireDelayHelper(const PipeWireDelayHelper&) = delete;
    PipeWireDelayHelper& operator=(const PipeWireDelayHelper&) = delete;
    /// Ends the program; it is gone when this returns.
    ~PipeWireDelayHelper();

    /// False once the end is told.
    bool isRunning() const noexcept { return process_ > 0; }
    /// Not to be asked once it is gone: no process is -1, which means all of them.
    pid_t process() const noexcept { return process_; }
    /// By output, in milliseconds; what is not named stays, and an unknown output is ignored.
    void setDelays(const std::map<std::string, double>& delays);
    /// Silences what players send, and has two outputs play sweeps (Platform/Linux/Delay/DelayLine.h).
    void playSweeps(const std::string& rising, const std::string& falling, double peak);
    void endSweeps();
    /// Sound begins to run: the program is to show that it is well.
    void expectSound() { watchdog_.putOff(); }

  private:
    void start(const std::string& remote, const std::string& aggregate);
    std::size_t place(const std::string& output) const;
    void send(const std::string& line);
    /// Takes in what the program has said; whether that was anything.
    bool listen();
    void watchdogHasRunOut();
    /// The program must say until then that it is well; else it is told why it is over.
    void awaitWord(Duration time, const char* otherwise);
    void ended();
    void finish(const std::string& why);
    void release() noexcept;

    MainActor& actor_;
    FileDescriptorWatcher& watcher_;
    Outputs outputs_; // with the delays that were sent last
    Ended ended_;
    pid_t process_ = -1;
    int descriptor_ = -1; // a pidfd: readable when the program has ended
    int line_ = -1;       // a socket: the program's standard input and output
    Watchdog watchdog_ = Watchdog::create();
    bool hasStarted_ = false;
    std::optional<MainActor::TimerID> deadline_; // for the word that it is well
};

} // namespace velto
