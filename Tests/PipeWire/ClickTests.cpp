#include "Platform/Linux/PipeWire/PipeWireAudioEngine.h"
#include "Tests/PipeWire/RealServer.h"
#include "Tools/Judge/ClickRow.h"
#include "Tools/SoundLab/OutputRecorder.h"
#include "VeltoCore/Sync/SyncTestPlayer.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace velto {
namespace {

/// What an output played, for the judge of clicks.
std::vector<judge::Frame> recordingOf(const OutputRecorder& recorder, const std::string& output) {
    const std::vector<float> stereo = recorder.samples(output);
    std::vector<judge::Frame> result;
    for (std::size_t i = 0; i < stereo.size(); i += 2)
        result.push_back({stereo[i], stereo[i + 1]});
    return result;
}

class ClickTests : public RealServer {
  protected:
    ~ClickTests() override { recorder.reset(); }

    /// Both outputs become one, and play everything.
    AudioObjectID playTogether() {
        const AudioObjectID aggregate = createAggregate({"desk", "usb"});
        switchTo(aggregate);
        return aggregate;
    }
    void stopPlayingTogether(AudioObjectID aggregate) {
        switchTo(id("desk"));
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

    const auto desk = recordingOf(*recorder, "desk");
    const auto usb = recordingOf(*recorder, "usb");
    const judge::SampleRange whole{1, static_cast<std::int64_t>(desk.size())};
    // A few in a row: on a busy machine the server misses a cycle now and then.
    EXPECT_TRUE(judge::longestClickRow({{desk, 0.5}, {usb, 0.5}}, whole, 4800).isEnough())
        << judge::describeClicks(desk, whole) << "; " << judge::describeClicks(usb, whole);
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
    ASSERT_TRUE(runUntil([&] { return defaultUID() == "desk"; }));
    recorder.emplace(*lab, std::vector<std::string>{"desk"}, OutputRecorder::GraphClock::dummyDriver, 60);
    player.start(0.5F, 3600, 0.01);
    EXPECT_TRUE(runUntil([&] { return recorder->heardUntil("desk") > 0; }));
    EXPECT_EQ(log.count("not heard any more"), 1U);
}

} // namespace
} // namespace velto
