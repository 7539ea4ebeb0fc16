// PulseAudio: the original, private, with three outputs of its own that play into nothing, and a stock
// player.
//
// It is unpacked beside the build, never installed: an installed one would take a desktop's sound at the next
// login.
#pragma once

#include "Benchmarks/CombineSink.h"
#include "Tools/SoundLab/ChildProcess.h"
#include "Tools/SoundLab/OwnedFolder.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace velto {

class PulseAudio {
  public:
    static CombineSink::Outputs outputs() { return {"television", "desk", "usb"}; }

    /// Plays the file on the television. Throws std::runtime_error with one sentence, also where it isn't
    /// unpacked.
    explicit PulseAudio(const std::filesystem::path& playedFile);

    /// What a program needs to find this server and nothing else.
    std::map<std::string, std::string> environment() const;
    pid_t process() const noexcept { return server_->id(); }

  private:
    OwnedFolder folder_; // outlives what runs in it
    std::optional<ChildProcess> server_;
    std::optional<ChildProcess> player_;
};

/// Hears when an output of a PulseAudio server is handed sound: by a stock recorder at the output's monitor.
class MonitorEar {
  public:
    MonitorEar(const PulseAudio& server, const std::string& output);
    MonitorEar(const MonitorEar&) = delete;
    MonitorEar& operator=(const MonitorEar&) = delete;
    ~MonitorEar();

    /// When the first sound was heard from that moment on the monotonic clock on, in nanoseconds. Throws
    /// std::runtime_error where none comes in time.
    std::int64_t firstSoundFrom(std::int64_t moment, std::chrono::milliseconds timeout);

  private:
    void listen(const std::stop_token& isOver);

    OwnedFolder folder_;
    std::mutex mutex_;
    std::vector<std::int64_t> sounds_; // when something that isn't silent came
    int pipe_ = -1;
    std::optional<ChildProcess> recorder_;
    std::jthread listener_;
};

} // namespace velto
