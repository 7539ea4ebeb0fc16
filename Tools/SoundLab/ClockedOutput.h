// ClockedOutput: an output of a private sound server whose hardware has a clock of its own, sounds late, and
// reports a latency: the truth, nothing, or a lie.
//
// As with real hardware the samples wait in a buffer, which empties at the pace of the output's own clock;
// how full it is steers the resampler in front of it. What it plays is kept on a timeline of the monotonic
// clock, so that outputs with different clocks can be compared. It is a client of its own.
#pragma once

#include "Tools/SoundLab/SoundLab.h"

#include <spa/node/io.h>
#include <spa/utils/dll.h>

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velto {

class ClockedOutput {
  public:
    static constexpr double sampleRate = 48000;

    struct Hardware {
        /// How much faster than the monotonic clock it plays, in millionths.
        double partsPerMillion = 0;
        /// How long samples wait before they are heard, in milliseconds; at least a cycle.
        double milliseconds = 50;
        /// What it says of that.
        double reportedMilliseconds = 0;
    };

    /// Plugs it in. Throws std::runtime_error.
    ClockedOutput(const std::string& socket, const std::string& name, const std::string& description,
                  const Hardware& hardware, double longestSeconds = 60);
    ClockedOutput(const ClockedOutput&) = delete;
    ClockedOutput& operator=(const ClockedOutput&) = delete;
    /// Pulls it out.
    ~ClockedOutput();

    /// What was heard from that moment on, in nanoseconds of the monotonic clock, as `count` samples of one
    /// channel at sampleRate by that clock. What was not played is silence. Not while it still plays that.
    std::vector<float> heard(std::int64_t from, std::size_t count) const;

  private:
    struct Events;

    void connect(const std::string& name, const std::string& description);
    void process();
    void steer(double now, std::uint64_t cycle);

    Hardware hardware_;
    double pace_;  // samples a second of the monotonic clock
    double depth_; // of the buffer, in samples
    SoundLab lab_;
    pw_stream* stream_ = nullptr;
    spa_hook hook_{};
    // Of the audio thread, which ends with the stream.
    std::vector<float> samples_;
    std::atomic<std::size_t> count_ = 0;
    /// When the first sample was heard, in seconds of the monotonic clock.
    std::atomic<double> begin_ = 0;
    spa_io_rate_match* rateMatch_ = nullptr;
    spa_io_position* position_ = nullptr;
    spa_dll loop_{};
    std::uint64_t cycle_ = 0;
};

/// By how many milliseconds the second was heard to play the same later than the first, from that moment on,
/// up to 20 either way; none where it was something else.
std::optional<double> heardLaterBy(const ClockedOutput& first, const ClockedOutput& second,
                                   std::int64_t from);

} // namespace velto
