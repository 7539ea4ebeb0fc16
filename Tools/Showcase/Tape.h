// Tape: what every output played, on one timeline over several recorders, none of which outlives its server.
//
// While no recorder runs, the tape runs on and holds silence.
#pragma once

#include "Tools/SoundLab/OutputRecorder.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velto {

class Tape {
  public:
    explicit Tape(std::vector<std::string> outputs) : outputs_(std::move(outputs)) {}

    /// Records from now on through that lab, for at most that long.
    void record(SoundLab& lab, double longestSeconds);
    /// Ends the recording, before its lab goes; the clock goes on.
    void pause();

    /// The seconds for a moment on the monotonic clock, in nanoseconds; 0 before anything is recorded.
    double seconds(std::int64_t monotonic) const;
    /// Waits until something has been recorded at that second.
    void waitUntil(double second) const { recorder_->waitUntil(second - offset()); }
    /// Frames that the graph plays at a time, as last seen.
    std::int64_t quantum() const { return recorder_->quantum(); }
    /// The second until which the output was heard last by the present recorder.
    double heardUntil(const std::string& output) const;

    /// Writes what an output played, after pause(). Throws std::runtime_error.
    void write(const std::string& output, const std::filesystem::path& file) const;

  private:
    double offset() const { return static_cast<double>(offsetFrames_) / OutputRecorder::sampleRate; }

    std::vector<std::string> outputs_;
    std::optional<OutputRecorder> recorder_;
    /// Where the present recorder's timeline begins on the tape.
    std::int64_t offsetFrames_ = 0;
    std::map<std::string, std::vector<float>> samples_;
};

} // namespace velto
