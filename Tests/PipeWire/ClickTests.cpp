#include "Platform/Linux/PipeWire/PipeWireAudioEngine.h"
#include "Tests/PipeWire/RealServer.h"
#include "Tools/SoundLab/OutputRecorder.h"
#include "VeltoCore/Sync/SyncTestPlayer.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <optional>
#include <stdexcept>
#include <vector>

namespace velto {
namespace {

constexpr std::size_t interval = 4800; // frames from click to click
constexpr std::size_t clickFrames = 576;

/// One channel of a stereo recording.
std::vector<float> channel(const std::vector<float>& stereo, std::size_t which) {
    std::vector<float> result;
    for (std::size_t i = which; i < stereo.size(); i += 2)
        result.push_back(stereo[i]);
    return result;
}

/// The furthest that the samples are from clicks that begin at that frame and at each interval after it.
double deviation(const std::vector<float>& samples, std::size_t begin, std::size_t clicks, double peak) {
    double furthest = 0;
    for (std::size_t i = 0; i < clicks * interval; ++i) {
        const std::size_t frame = i % interval;
        const double time = static_cast<double>(frame) / OutputRecorder::sampleRate;
        const double tone = peak * std::sin(2 * std::numbers::pi * 1000 * time) * std::exp(-400 * time);
        furthest = std::max(furthest, std::abs(samples.at(begin + i) - (frame < clickFrames ? tone : 0)));
    }
    return furthest;
}

/// Whether both outputs play three perfect clicks at the very same frames, at least once: on a busy machine
/// the server misses a cycle now and then.
bool areInStep(const std::vector<float>& one, const std::vector<float>& other, double peak) {
    constexpr std::size_t clicks = 3;
    for (std::size_t begin = 0; begin + clicks * interval <= std::min(one.size(), other.size()); ++begin) {
        if (one[begin] != 0 || one[begin + 1] == 0) continue; // a click begins with a zero
        if (std::max(deviation(one, begin, clicks, peak), deviation(other, begin, clicks, peak)) < 1e-5)
            return true;
    }
    return false;
}

class ClickTests : public RealServer {
  protected:
    ~ClickTests() override { recorder.reset(); }

    /// Both outputs become one, and play everything.
    AudioObjectID playTogether() {
        const AudioObjectID aggregate = createAggregate({"desk", "usb"});
        client->setDefaultOutputDevice(aggregate);
        client->setDefaultSystemOutputDevice(aggregate);
        return aggregate;
    }
    void stopPlayingTogether(AudioObjectID aggregate) {
        client->setDefaultOutputDevice(id("desk"));
        client->setDefaultSystemOutputDevice(id("desk"));
        client->destroyAggregateDevice(aggregate);
    }

    std::optional<OutputRecorder> recorder;
};

TEST_F(ClickTests, BothOutputsOfASessionPlayTheVeryClicks) {
    recorder.emplace(*lab, std::vector<std::string>{"desk", "usb", "blue"},
                     OutputRecorder::GraphClock::dummyDriver, 60);
    const AudioObjectID aggregate = playTogether();
    PipeWireAudioEngine engine(*client, loop, server.socket());
    SyncTestPlayer player(loop, engine);
    player.start(0.5F, 3, 0.1);
    EXPECT_TRUE(log.contains("Sync info: Sync test started at 48000.000000 Hz"));
    EXPECT_TRUE(runUntil([&] { return !player.isPlaying(); }));
    recorder->stop();

    const auto desk = recorder->samples("desk");
    const auto usb = recorder->samples("usb");
    EXPECT_TRUE(areInStep(channel(desk, 0), channel(usb, 0), 0.5));
    EXPECT_TRUE(areInStep(channel(desk, 0), channel(usb, 1), 0.5)) << "both channels are the same";
    EXPECT_EQ(recorder->heardUntil("blue"), 0);
    stopPlayingTogether(aggregate);
}

TEST_F(ClickTests, AServerThatDiesEndsTheSoundAndNothingElse) {
    PipeWireAudioEngine engine(*client, loop, server.socket());
    SyncTestPlayer player(loop, engine);
    recorder.emplace(*lab, std::vector<std::string>{"desk"}, OutputRecorder::GraphClock::dummyDriver, 60);
    player.start(0.5F, 3600, 0.01);
    ASSERT_TRUE(runUntil([&] { return recorder->heardUntil("desk") > 0; }));
    recorder.reset();
    killServer();
    EXPECT_TRUE(runUntil([&] { return log.count("The sync test is not heard any more: ") > 0; }));
    EXPECT_TRUE(runUntil([&] { return !client->isConnected(); }));
    EXPECT_TRUE(player.isPlaying());
    player.start(0.5F, 3600, 0.01);
    EXPECT_FALSE(player.isPlaying());
    EXPECT_EQ(log.count("Sync error: Sync test failed to start: "), 1U);
    EXPECT_THROW(engine.start(48000, [](auto, auto) { return noErr; }), std::runtime_error);

    restartServer();
    ASSERT_TRUE(runUntil([&] { return client->isConnected() && defaultUID() == "desk"; }));
    recorder.emplace(*lab, std::vector<std::string>{"desk"}, OutputRecorder::GraphClock::dummyDriver, 60);
    player.start(0.5F, 3600, 0.01);
    EXPECT_TRUE(runUntil([&] { return recorder->heardUntil("desk") > 0; }));
    EXPECT_EQ(log.count("not heard any more"), 1U);
}

} // namespace
} // namespace velto
