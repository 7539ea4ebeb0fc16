// OutputRecorder: records what every output plays, all on one timeline.
//
// A filter node of the server with a stereo pair for each output, linked to its monitor whenever it is there.
// The timeline is the graph's clock: sample n of every recording belongs to the same moment. What an absent
// or silent output plays is zeros.
#pragma once

#include "Tools/SoundLab/SoundLab.h"

#include <pipewire/filter.h>

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace velto {

class OutputRecorder {
  public:
    /// Whose clock runs the graph. The recorder of the output that drives it would hear itself one cycle
    /// late.
    enum class GraphClock {
        /// The server's own dummy driver: every output follows.
        dummyDriver,
        /// Whichever output the server picks.
        outputs,
        /// The same, and only while players play: the recorder keeps nothing awake, and its timeline stands
        /// still while nothing plays.
        players,
    };

    /// Starts to record these outputs, present or not, for at most that long. Returns when the timeline has
    /// begun, unless that is the players'.
    OutputRecorder(SoundLab& lab, std::vector<std::string> outputs, GraphClock clock,
                   double longestSeconds = 60);
    OutputRecorder(const OutputRecorder&) = delete;
    OutputRecorder& operator=(const OutputRecorder&) = delete;
    ~OutputRecorder();

    static constexpr int sampleRate = 48000;
    /// Seconds on the timeline for a moment on the monotonic clock in nanoseconds.
    double timelineSeconds(std::int64_t monotonic) const;
    /// Frames that the graph plays at a time, as last seen.
    std::int64_t quantum() const noexcept { return quantum_.load(); }
    /// Frames recorded so far.
    std::int64_t frames() const noexcept { return frames_.load(); }
    /// Frames of them for which the recorder itself came too late; they are silent.
    std::int64_t missedFrames() const noexcept { return missedFrames_.load(); }
    /// The frame after the last one in which the output was not silent; 0 when it was never heard.
    std::int64_t heardUntil(const std::string& output) const;
    /// Waits until the timeline has reached that second.
    void waitUntil(double second) const;

    /// Ends the recording; after this the samples stand still.
    void stop();
    /// Interleaved stereo samples of an output, after stop().
    std::vector<float> samples(const std::string& output) const;
    /// Writes an output's recording as 32-bit float WAV, after stop(). Throws std::runtime_error.
    void write(const std::string& output, const std::filesystem::path& file) const;

  private:
    struct Track;
    struct Events;

    void connect(std::vector<std::string> outputs, GraphClock clock);
    const Track& track(const std::string& output) const;
    void linkMonitors();
    void process(const spa_io_position& position);

    SoundLab& lab_;
    std::vector<std::unique_ptr<Track>> tracks_;
    pw_filter* filter_ = nullptr;
    std::int64_t capacity_;
    bool isPassive_;
    // Written by the audio thread only; read by others.
    std::atomic<std::int64_t> frames_ = 0;
    std::atomic<std::int64_t> missedFrames_ = 0;
    std::atomic<std::int64_t> quantum_ = 0;
    /// Of the last cycle: when it began, and which frame it began with.
    std::atomic<std::int64_t> cycleTime_ = 0;
    std::atomic<std::int64_t> cycleFrame_ = 0;
    /// Links asked for: monitor port and own port. Of the lab's thread.
    std::map<std::pair<std::uint32_t, std::uint32_t>, pw_proxy*> requested_;
    spa_hook hook_{};
    // Of the audio thread.
    std::uint64_t nextPosition_ = 0;
    std::uint32_t clockID_ = 0;
    bool hasStarted_ = false;
};

/// Writes interleaved stereo samples as 32-bit float WAV. Throws std::runtime_error.
void writeRecording(const std::filesystem::path& file, const std::vector<float>& interleaved);

} // namespace velto
