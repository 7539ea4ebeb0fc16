// SoundBench: the shipped program on a private sound server, for measuring.
#pragma once

#include "Tools/SoundLab/ChildProcess.h"
#include "Tools/SoundLab/PrivateSoundServer.h"
#include "Tools/SoundLab/RunningVelto.h"
#include "Tools/SoundLab/SoundLab.h"

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace velto {

class SoundBench {
  public:
    static constexpr const char* desk = "velto.lab.desk";
    static constexpr const char* usb = "velto.lab.usb";

    /// Starts the server, plugs both outputs, plays the file over and over if there is one, and runs Velto
    /// without windows. Throws std::runtime_error with one sentence, as all below do.
    explicit SoundBench(const std::filesystem::path& playedFile, int deskDriverPriority = 0);

    /// Each answers how long it took, in milliseconds, as the program has measured it.
    double start() { return play(desk, usb); }
    double play(const std::string& first, const std::string& second);
    double stop();
    /// Has the USB output heard later; returns when what delays it runs.
    void delayUSB(const std::string& milliseconds);
    void delay(const std::string& output, const std::string& milliseconds);
    /// Measures with the default input.
    RunningVelto::Answer align() { return velto_->command({"align"}); }
    /// Has neither output heard later.
    void undelay();
    /// Begins to; returns when both outputs are about to play sweeps.
    std::unique_ptr<ChildProcess> beginAligning();
    /// As in a crash; and the next launch, which cleans up.
    void killVelto() { velto_->process().kill(); }
    void launchVelto();
    /// Whatever comes of it.
    void command(const RunningVelto::Words& words) { velto_->command(words); }
    pid_t veltoID() { return velto_->process().id(); }
    void signalVelto(int number) { velto_->process().signal(number); }
    /// The process that delays. Throws while there is none.
    pid_t helper();
    std::optional<pid_t> runningHelper();
    void unplugDesk() { lab_.unplug(desk); }
    /// Answers when the output had its ports, on the monotonic clock in nanoseconds.
    std::int64_t plugDesk() { return lab_.plug(deskOutput_); }

    /// Picks the default output by the server's own tool. Returns when it is the default.
    void commandDefault(const std::string& output);

    /// Whether the session plays on the output, perhaps in a moment.
    bool playsOn(const std::string& output);

    /// CPU time of the server's daemon, of Velto and of what delays, in seconds.
    double cpuSeconds();

    SoundLab& lab() noexcept { return lab_; }
    PrivateSoundServer& server() noexcept { return server_; }

  private:
    double timed(const RunningVelto::Words& command);

    PrivateSoundServer server_;
    SoundLab lab_;
    VirtualOutput deskOutput_;
    std::optional<ChildProcess> player_;
    std::optional<RunningVelto> velto_;
};

} // namespace velto
