// Outputs measured with a microphone on a real server, in a room in which they really sound later.
#include "Platform/Linux/PipeWire/PipeWireMicrophone.h"
#include "Tests/PipeWire/HeardServer.h"
#include "Tests/Support/Started.h"
#include "Tools/SoundLab/SoundRoom.h"
#include "VeltoCore/Sync/AlignmentRun.h"
#include "VeltoCore/Sync/VeltoSyncEngine.h"

#include <signal.h>

#include <chrono>
#include <thread>
#include <utility>

namespace velto {
namespace {

using namespace std::chrono_literals;
using Outcome = AlignmentRun::Outcome<Alignment>;

class DelayMeasurementTests : public HeardServer {
  protected:
    void SetUp() override {
        HeardServer::SetUp();
        aggregate = createAggregate({"desk", "usb"});
        client->setDefaultOutputDevice(aggregate);
        engine.emplace(*client, aggregateUID);
        microphone.emplace(loop, server.socket());
    }
    void TearDown() override {
        recorder.reset();
        room.reset();
        engine.reset();
        client->setDefaultOutputDevice(id("desk"));
        client->destroyAggregateDevice(aggregate);
        EXPECT_EQ(delayingProcess(), 0);
        HeardServer::TearDown();
    }
    void arrange(double desk, double usb) {
        VirtualRoom acoustics;
        acoustics.outputs = {{{.milliseconds = desk, .gain = 0.4}, {.milliseconds = usb, .gain = 0.2}}};
        acoustics.reverberationSeconds = 0.1;
        acoustics.directToReverberant = 3;
        acoustics.noise = 0.002;
        room.reset();
        room.emplace(server.socket(), acoustics, std::array<std::string, 2>{"desk", "usb"});
        ASSERT_TRUE(runUntil([&] { return client->deviceID(SoundRoom::input).has_value(); }));
    }
    /// Runs a measurement, with what happens meanwhile, and puts back what was.
    Outcome measure(const std::string& input = {}, Duration when = 0ms,
                    const std::function<void()>& event = {}) {
        AlignmentRun::Request request{.aggregate = aggregate,
                                      .outputs = {{{"desk", "Desk"}, {"usb", "USB"}}},
                                      .delays = {},
                                      .inputUID = input,
                                      .peak = 0.5};
        CancellationSource cancellation;
        const ContinuousInstant begin = loop.continuousNow();
        AlignmentRun run(
            loop, *client, *engine, *microphone, request, [](const auto&) {}, cancellation.token());
        TaskScope tasks(loop);
        const Started<Outcome> started(tasks, run.run());
        if (event) {
            EXPECT_TRUE(runUntil([&] { return loop.continuousNow() - begin > when; }));
            event();
        }
        EXPECT_TRUE(runUntil([&] { return started.isDone(); }));
        taken = loop.continuousNow() - begin;
        const Outcome outcome = started.value();
        if (!outcome) engine->apply({{"desk", "usb"}, "desk", {}, SyncProfile::Kind::manual, {}});
        client->endSweeps(aggregate);
        return outcome;
    }
    /// Whether an output is played to directly by the aggregate, and by nothing else of ours.
    bool isDirect(const std::string& output) {
        return lab->linkCount(aggregateUID, output) == 2 &&
               lab->linkCount(aggregateUID, output) == ourLinks(output);
    }
    int ourLinks(const std::string& output) {
        const SoundLab::Lock lock(*lab);
        const PipeWireNode* node = lab->graph().device(output);
        return static_cast<int>(std::ranges::count_if(lab->graph().links(), [&](const auto& entry) {
            return entry.second.isOurs && node && entry.second.inputNode == node->globalID();
        }));
    }

    AudioObjectID aggregate = kAudioObjectUnknown;
    std::optional<VeltoSyncEngine> engine;
    std::optional<PipeWireMicrophone> microphone;
    std::optional<SoundRoom> room;
    Duration taken{};
};

TEST_F(DelayMeasurementTests, OutputsAreMeasuredWhilePlayersPlayIntoSilenceAndOnlyTheEarlierStaysDelayed) {
    arrange(5.3, 188.7);
    for (const bool hasMusic : {false, true}) {
        const auto music = hasMusic ? play() : nullptr;
        if (hasMusic) ASSERT_TRUE(runUntil([&] { return isPlayedTo(aggregateUID); }));
        const std::string input = hasMusic ? SoundRoom::input : "";
        Outcome outcome = measure(input);
        // A machine that is too busy for a cycle leaves a hole in what is heard: rightly refused.
        for (int attempt = 0; attempt < 3 && !outcome && outcome.error() == AlignmentFailure::unclear;
             ++attempt)
            outcome = measure(input);
        ASSERT_TRUE(outcome) << static_cast<int>(outcome.error());
        EXPECT_NEAR(outcome->before.milliseconds(), 183.4, 0.02);
        EXPECT_NEAR(outcome->after.milliseconds(), 0, 0.02);
        EXPECT_EQ(outcome->delays, (OutputDelays{{"desk", 183.4}, {"usb", 0}}));
        EXPECT_TRUE(runUntil([&] { return isDirect("usb") && ourLinks("desk") == 2; }));
        EXPECT_FALSE(isDirect("desk"));
        EXPECT_GT(delayingProcess(), 0);
        if (hasMusic) EXPECT_TRUE(music->isRunning());
        engine->apply({{"desk", "usb"}, "desk", {}, SyncProfile::Kind::manual, {}});
        EXPECT_EQ(measure({}, 500ms, [&] { room->unplugInput(); }).error(), AlignmentFailure::inputLost);
        EXPECT_TRUE(runUntil([&] { return isDirect("usb") && isDirect("desk"); }));
        EXPECT_EQ(delayingProcess(), 0) << "what was started for the measurement is gone";
        arrange(5.3, 188.7);
    }
}

TEST_F(DelayMeasurementTests, WhatIsNotTheInputIsRefusedAndWhatEndsInBetweenLeavesTheSound) {
    const auto music = play();
    record(OutputRecorder::GraphClock::dummyDriver);
    EXPECT_EQ(measure().error(), AlignmentFailure::noInput) << "an output's monitor is no microphone";
    arrange(120, 5);
    EXPECT_EQ(measure("nobody").error(), AlignmentFailure::anotherInput);
    EXPECT_LT(taken, 3s);
    // Killed while both sweep: the sound comes back, and no answer is given.
    const Outcome killed = measure({}, 1s, [&] {
        if (const pid_t process = delayingProcess(); process > 0) kill(process, SIGKILL);
    });
    EXPECT_FALSE(killed);
    EXPECT_TRUE(runUntil([&] { return isDirect("usb") && isDirect("desk"); }));
    playFor(9600);
    const std::int64_t back = recorder->frames();
    playFor(9600);
    recorder->stop();
    for (const char* output : {"desk", "usb"})
        EXPECT_LE(silentFrames(recorder->samples(output), back, recorder->frames()), longestHole) << output;
}

TEST_F(DelayMeasurementTests, WhereNothingPlaysTheSweepsWakeTheOutputsWhichSleepAgainAfter) {
    record(OutputRecorder::GraphClock::players);
    client->playSweeps(aggregate, "desk", "usb", 0.5);
    EXPECT_EQ(statusThrown([&] { client->playSweeps(aggregate, "desk", "blue", 0.5); }),
              kAudioHardwareBadDeviceError);
    ASSERT_TRUE(runUntil([&] { return recorder->frames() > 72000; }));
    for (const char* output : {"desk", "usb"})
        EXPECT_GT(recorder->heardUntil(output), 43200) << "0.3 s, and nearly one more";
    client->endSweeps(aggregate);
    std::int64_t frames = 0;
    EXPECT_TRUE(runUntil([&] {
        const std::int64_t before = std::exchange(frames, recorder->frames());
        std::this_thread::sleep_for(100ms);
        return frames == before;
    }));
}

} // namespace
} // namespace velto
