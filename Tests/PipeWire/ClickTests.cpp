#include "Platform/Linux/PipeWire/PipeWireAudioEngine.h"
#include "Tests/PipeWire/RealServer.h"
#include "Tools/SoundLab/OutputRecorder.h"
#include "VeltoCore/Sync/SyncTestPlayer.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
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

/// The frame at which the second click begins: the first one may have come before all was linked.
std::size_t secondClick(const std::vector<float>& samples) {
    const auto isSound = [](float sample) { return sample != 0; };
    auto position = std::find_if(samples.begin(), samples.end(), isSound);
    position += std::min<std::ptrdiff_t>(clickFrames, samples.end() - position);
    position = std::find_if(position, samples.end(), isSound);
    return static_cast<std::size_t>(position - samples.begin()) - 1; // a click begins with a zero
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
    player.start(0.5F, 1.5, 0.1);
    EXPECT_TRUE(log.contains("Sync info: Sync test started at 48000.000000 Hz"));
    EXPECT_TRUE(runUntil([&] { return !player.isPlaying(); }));
    recorder->stop();

    const auto desk = channel(recorder->samples("desk"), 0);
    const auto usb = channel(recorder->samples("usb"), 0);
    EXPECT_EQ(desk, channel(recorder->samples("desk"), 1)) << "both channels are the same";
    EXPECT_EQ(recorder->heardUntil("blue"), 0);
    const std::size_t begin = secondClick(desk);
    EXPECT_EQ(secondClick(usb), begin) << "in step";
    EXPECT_LT(deviation(desk, begin, 10, 0.5), 1e-5);
    EXPECT_LT(deviation(usb, begin, 10, 0.5), 1e-5);
    stopPlayingTogether(aggregate);
}

} // namespace
} // namespace velto
