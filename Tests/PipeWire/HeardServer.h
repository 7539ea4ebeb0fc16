// HeardServer: a real server of which "desk" and "usb" are recorded, and what the recordings tell.
#pragma once

#include "Tests/PipeWire/RealServer.h"
#include "Tools/SoundLab/OutputRecorder.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace velto {

class HeardServer : public RealServer {
  protected:
    void record(OutputRecorder::GraphClock clock) {
        recorder.reset();
        recorder.emplace(*lab, std::vector<std::string>{"desk", "usb"}, clock);
    }
    /// Lets the outputs play for that many frames.
    void playFor(std::int64_t frames) {
        const std::int64_t end = recorder->frames() + frames;
        ASSERT_TRUE(runUntil([&] { return recorder->frames() >= end; }));
    }
    /// The process that delays; 0 while there is none.
    pid_t delayingProcess() {
        for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
            std::ifstream file(entry.path() / "cmdline");
            const std::string words{std::istreambuf_iterator<char>(file), {}};
            if (words.contains("velto-delay") && words.contains(server.socket()))
                return std::stoi(entry.path().filename());
        }
        return 0;
    }
    /// By how many frames "usb" was heard later in that stretch, to the bit; none where it was something
    /// else. A machine that is too busy for a cycle now and then leaves a hole in either recording: what both
    /// heard says it.
    std::optional<std::int64_t> lag(std::int64_t from, std::int64_t until) {
        const auto desk = recorder->samples("desk");
        const auto usb = recorder->samples("usb");
        const std::int64_t longest = std::min(from, longestLag);
        const std::int64_t compared = (until - from) * 2 / everySample;
        for (std::int64_t lag = 0; lag <= longest; ++lag) {
            std::int64_t equal = 0;
            std::int64_t different = 0;
            for (std::int64_t i = from * 2; i < until * 2 && different * 10 <= compared; i += everySample) {
                const float late = usb[i];
                const float early = desk[i - lag * 2];
                if (late == 0 || early == 0) continue;
                ++(late == early ? equal : different);
            }
            if (equal * 10 > compared && equal > different * 9) return lag;
        }
        return std::nullopt;
    }

    /// Where an output was heard: the first frame and the one after the last, of each stretch of sound.
    std::vector<std::pair<std::int64_t, std::int64_t>> sounds(const std::string& output) {
        std::vector<std::pair<std::int64_t, std::int64_t>> result;
        const auto samples = recorder->samples(output);
        for (std::int64_t frame = 0; frame < std::ssize(samples) / 2; ++frame) {
            if (samples[frame * 2] == 0) continue;
            if (result.empty() || frame > result.back().second + longestHole) result.emplace_back(frame, 0);
            result.back().second = frame + 1;
        }
        return result;
    }
    /// Frames in which an output that plays all the time was not heard.
    static std::int64_t silentFrames(const std::vector<float>& samples, std::int64_t from,
                                     std::int64_t until) {
        std::int64_t result = 0;
        for (std::int64_t frame = from; frame < until; ++frame)
            result += samples[frame * 2] == 0 && samples[frame * 2 + 1] == 0;
        return result;
    }

    /// Longer than what is ever set here, at every rate.
    static constexpr std::int64_t longestLag = 48000;
    /// Enough to tell noise from noise; of both channels in turn.
    static constexpr std::int64_t everySample = 97;
    /// Of a machine that is too busy for a cycle or two.
    static constexpr std::int64_t longestHole = 4096;

    std::optional<OutputRecorder> recorder;
};

} // namespace velto
