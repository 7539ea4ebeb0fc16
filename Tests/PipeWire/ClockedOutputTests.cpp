// Outputs with clocks and latencies of their own, on a real server, judged by when they were heard.
#include "Tests/PipeWire/RealServer.h"
#include "Tools/SoundLab/ClockedOutput.h"

#include <chrono>

namespace velto {
namespace {

class ClockedOutputTests : public RealServer {
  protected:
    /// What it says of its latency, once that is known, in milliseconds.
    double reported(const std::string& name) {
        EXPECT_TRUE(runUntil([&] { return id(name) != kAudioObjectUnknown; }));
        settle();
        return static_cast<double>(client->outputLatencyFrames(id(name)).value_or(-1)) /
               client->nominalSampleRate(id(name)) * 1000;
    }
    /// Each cycle that a busy machine misses moves one output against the other, until that is steered again.
    static constexpr Duration untilSteered = std::chrono::seconds(25);

    /// By how much the second is heard later in the next tenths of a second.
    std::optional<double> laterBy(const ClockedOutput& first, const ClockedOutput& second) {
        const std::int64_t from = monotonicNow();
        EXPECT_TRUE(runUntil([&] { return monotonicNow() > from + 600'000'000; }));
        return heardLaterBy(first, second, from);
    }
};

TEST_F(ClockedOutputTests, TheyAreHeardTogetherByDelaysForWhatTheyReallyNeedWhateverTheyReport) {
    const ClockedOutput honest(server.socket(), "honest", "Honest DAC",
                               {.partsPerMillion = 300, .milliseconds = 60, .reportedMilliseconds = 60});
    const ClockedOutput liar(server.socket(), "liar", "Lying Speaker",
                             {.partsPerMillion = -300, .milliseconds = 72.5, .reportedMilliseconds = 10});
    const ClockedOutput silent(server.socket(), "silent", "Silent Speaker", {.milliseconds = 60});
    EXPECT_NEAR(reported("honest"), 60, 0.1);
    EXPECT_NEAR(reported("liar"), 10, 0.1);
    EXPECT_NEAR(reported("silent"), 0, 0.1);
    const AudioObjectID aggregate = createAggregate({"honest", "liar"});
    client->setDefaultOutputDevice(aggregate);
    const auto music = play();
    std::optional<double> later;
    EXPECT_TRUE(runUntil([&] { return (later = laterBy(honest, liar)) && std::abs(*later - 12.5) < 0.5; },
                         untilSteered))
        << later.value_or(-1);
    client->setOutputDelays(aggregate, {{"honest", 12.5}});
    EXPECT_TRUE(
        runUntil([&] { return (later = laterBy(honest, liar)) && std::abs(*later) < 0.1; }, untilSteered))
        << later.value_or(-1);
    client->setDefaultOutputDevice(id("desk"));
    client->destroyAggregateDevice(aggregate);
}

} // namespace
} // namespace velto
