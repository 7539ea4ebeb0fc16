// SoundBench: a session of the production classes on a private sound server, for measuring.
#pragma once

#include "Platform/Linux/FileUserDefaults.h"
#include "Platform/Linux/IcuTextCollation.h"
#include "Platform/Linux/LinuxMainActor.h"
#include "Platform/Linux/PipeWire/PipeWireAudioClient.h"
#include "Tools/SoundLab/ChildProcess.h"
#include "Tools/SoundLab/PrivateSoundServer.h"
#include "Tools/SoundLab/SoundLab.h"
#include "VeltoCore/Aggregate/AggregateDeviceManager.h"
#include "VeltoCore/Async/TaskScope.h"
#include "VeltoCore/Devices/AudioDeviceManager.h"
#include "VeltoCore/Recovery/UserDefaultsRecoveryStateStore.h"
#include "VeltoCore/Session/SystemAudioManager.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace velto {

class SoundBench {
  public:
    static constexpr const char* desk = "velto.lab.desk";
    static constexpr const char* usb = "velto.lab.usb";

    /// Starts the server, plugs both outputs, and plays the file over and over if there is one. Throws
    /// std::runtime_error with one sentence.
    explicit SoundBench(const std::filesystem::path& playedFile, int deskDriverPriority = 0);

    /// Each answers how long it took, in milliseconds.
    double start();
    double stop();
    void unplugDesk() { lab_.unplug(desk); }
    /// Answers when the output had its ports, on the monotonic clock in nanoseconds.
    std::int64_t plugDesk() { return lab_.plug(deskOutput_); }

    /// Lets the session's own loop run for that long.
    void idle(std::chrono::milliseconds duration);
    /// CPU time of the server's daemon and of this process, in seconds.
    double cpuSeconds() const;

    SoundLab& lab() noexcept { return lab_; }
    PrivateSoundServer& server() noexcept { return server_; }

  private:
    double timed(Task<void> task);

    PrivateSoundServer server_;
    SoundLab lab_;
    VirtualOutput deskOutput_;
    LinuxMainActor actor_;
    std::optional<FileUserDefaults> defaults_;
    std::optional<PipeWireAudioClient> client_;
    IcuTextCollation collation_;
    std::optional<AudioDeviceManager> devices_;
    std::optional<AggregateDeviceManager> aggregates_;
    std::optional<UserDefaultsRecoveryStateStore> recoveryStore_;
    std::optional<SystemAudioManager> session_;
    std::optional<TaskScope> tasks_;
    std::optional<ChildProcess> player_;
};

} // namespace velto
