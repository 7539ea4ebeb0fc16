// PrivateSoundServer: a PipeWire and WirePlumber of our own, in a temporary folder, that touch no hardware,
// no bus and no other sound server.
//
// They end with the object, and the folder with them.
#pragma once

#include "Tools/SoundLab/ChildProcess.h"
#include "Tools/SoundLab/OwnedFolder.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>

namespace velto {

class PrivateSoundServer {
  public:
    /// Starts both. Throws std::runtime_error with one sentence when they can't be.
    PrivateSoundServer();
    PrivateSoundServer(const PrivateSoundServer&) = delete;
    PrivateSoundServer& operator=(const PrivateSoundServer&) = delete;
    ~PrivateSoundServer();

    /// The socket for clients in this process.
    std::string socket() const { return folder_ / "run" / "pipewire-0"; }
    const std::filesystem::path& folder() const noexcept { return folder_; }
    /// What a program needs to find this server and nothing else.
    std::map<std::string, std::string> environment() const;
    pid_t daemonID() const noexcept { return daemon_->id(); }
    pid_t sessionManagerID() const noexcept { return sessionManager_->id(); }

    /// Kills both, as in a crash.
    void kill();
    /// Starts both again after kill(). Outputs that were plugged are gone.
    void start();
    /// Kills the server alone; start() starts both anew.
    void killDaemon();
    /// Kills, or starts again, the session manager alone.
    void killSessionManager();
    void startSessionManager();

  private:
    void writeConfiguration() const;

    // Before the programs, which end first.
    OwnedFolder owned_;
    std::filesystem::path folder_;
    std::optional<ChildProcess> daemon_;
    std::optional<ChildProcess> sessionManager_;
};

} // namespace velto
