// Outputs of an aggregate that are delayed, on a real server, judged by what they were heard to play.
#include "Platform/Linux/Delay/DelayNames.h"
#include "Tests/PipeWire/HeardServer.h"
#include "Tools/SoundLab/ProcessFigures.h"

#include <signal.h>

#include <algorithm>
#include <cstdint>
#include <utility>

namespace velto {
namespace {

class DelayedOutputTests : public HeardServer {
  protected:
    void SetUp() override {
        HeardServer::SetUp();
        aggregate = createAggregate({"desk", "usb"});
        client->setDefaultOutputDevice(aggregate);
        listen(aggregate, kVeltoAggregatePropertyOutputDelaysLost, [this] { ++losses; });
        music = play();
        record(OutputRecorder::GraphClock::dummyDriver);
        playFor(4800);
    }
    void TearDown() override {
        recorder.reset();
        music.reset();
        client->setDefaultOutputDevice(id("desk"));
        client->destroyAggregateDevice(aggregate);
        EXPECT_EQ(delayingProcess(), 0) << "it goes with the aggregate";
        HeardServer::TearDown();
    }

    /// Signals it, and waits until another one delays in its place, or none any more.
    void signalHelper(int number, bool isReplaced = true) {
        pid_t process = 0;
        ASSERT_TRUE(runUntil([&] { return (process = delayingProcess()) > 0; }));
        kill(process, number);
        ASSERT_TRUE(runUntil([&] {
            const pid_t now = delayingProcess();
            return now != process && (now > 0) == isReplaced;
        }));
    }
    /// Whether sound goes to "usb" directly, and through what delays.
    std::pair<bool, bool> ways() {
        bool isDirect = false;
        bool isDelayed = false;
        const SoundLab::Lock lock(*lab);
        const PipeWireGraph& graph = lab->graph();
        const PipeWireNode* usb = graph.device("usb");
        const PipeWireNode* source = graph.device(aggregateUID);
        for (const auto& [globalID, link] : graph.links()) {
            if (!link.isOurs || !usb || link.inputNode != usb->globalID()) continue;
            isDirect |= source && link.outputNode == source->globalID();
            isDelayed |= graph.delayNodeName(link.outputNode) != nullptr;
        }
        return {isDirect, isDelayed};
    }
    bool becomesDelayed() {
        return runUntil([&] { return ways() == std::pair(false, true); });
    }
    /// By how many frames "usb" is heard later than "desk" from now on; none where that differs.
    std::optional<std::int64_t> lagNow() {
        playFor(14400); // what was in the line, and changes, are through
        const std::int64_t from = recorder->frames();
        playFor(9600);
        return lag(from, recorder->frames());
    }

    AudioObjectID aggregate = kAudioObjectUnknown;
    std::unique_ptr<ChildProcess> music;
    int losses = 0;
};

TEST_F(DelayedOutputTests, OnlyWhatIsDelayedGoesAnotherWayAndStaysThere) {
    client->setOutputDelays(aggregate, {{"desk", 0}, {"usb", 0}});
    EXPECT_EQ(ways(), std::pair(true, false));
    EXPECT_EQ(delayingProcess(), 0) << "nothing runs without a delay";
    client->setOutputDelays(aggregate, {{"usb", 12.4}});
    ASSERT_TRUE(becomesDelayed());
    EXPECT_EQ(lagNow(), 595);
    client->setOutputDelays(aggregate, {{"usb", 183.4}, {"desk", 0}});
    EXPECT_EQ(lagNow(), 8803);
    client->setOutputDelays(aggregate, {});
    EXPECT_EQ(lagNow(), 0);
    EXPECT_EQ(ways(), std::pair(false, true)) << "to leave the way again would be heard";

    client->setOutputDelays(aggregate, {{"usb", 80}});
    unplug("usb");
    plug(usual("usb"));
    EXPECT_TRUE(becomesDelayed()) << "also when it comes back";
    EXPECT_EQ(losses, 0);
}

TEST_F(DelayedOutputTests, WithoutWhatDelaysAnOutputPlaysDirectlyUntilThatRunsAgain) {
    client->setOutputDelays(aggregate, {{"usb", 80}});
    ASSERT_TRUE(becomesDelayed());
    EXPECT_EQ(lagNow(), 3840);
    int deviceChanges = 0;
    listen(kAudioObjectSystemObject, kAudioHardwarePropertyDevices, [&] { ++deviceChanges; });
    for (int end = 1; end <= 3; ++end) {
        signalHelper(SIGKILL);
        ASSERT_TRUE(becomesDelayed()) << "it is started again three times";
    }
    EXPECT_EQ(losses, 0);
    EXPECT_EQ(lagNow(), 3840);
    signalHelper(SIGKILL, false);
    ASSERT_TRUE(runUntil([&] { return losses == 1; }));
    EXPECT_TRUE(runUntil([&] { return ways() == std::pair(true, false); }));
    EXPECT_EQ(lagNow(), 0);

    client->setOutputDelays(aggregate, {{"usb", 12.4}});
    EXPECT_TRUE(becomesDelayed()) << "whoever asks anew gets it anew";
    EXPECT_EQ(lagNow(), 595);
    signalHelper(SIGSTOP); // one that hangs is as good as gone
    EXPECT_TRUE(becomesDelayed());
    EXPECT_EQ(losses, 1);
    settle();
    EXPECT_EQ(deviceChanges, 0) << "no output was gone for a moment: that would end sessions";
    stopListening();
}

TEST_F(DelayedOutputTests, WhatBeganToHangWhileNothingPlayedIsReplacedOnceSoundRuns) {
    client->setOutputDelays(aggregate, {{"usb", 80}});
    ASSERT_TRUE(becomesDelayed());
    recorder.reset(); // it keeps the outputs awake
    music.reset();
    const pid_t hanging = delayingProcess();
    ASSERT_GT(hanging, 0);
    std::int64_t wakeUps = -1, since = 0;
    ASSERT_TRUE(runUntil([&] { // also what comes after the end of a sound is over
        const std::int64_t now = wakeUpsOf(hanging);
        if (std::exchange(wakeUps, now) != now) since = monotonicNow();
        return monotonicNow() > since + 1'000'000'000;
    }));
    kill(hanging, SIGSTOP);
    settle();
    EXPECT_EQ(delayingProcess(), hanging) << "nobody looks while nothing plays";
    music = play();
    EXPECT_TRUE(runUntil([&] { return delayingProcess() != hanging && becomesDelayed(); }));
    EXPECT_EQ(losses, 0);
}

TEST_F(DelayedOutputTests, ALinkOfOursToAStrangerIsRemovedAlsoFromWhatDelays) {
    client->setOutputDelays(aggregate, {{"usb", 80}});
    ASSERT_TRUE(becomesDelayed());
    pw_proxy* stray = nullptr;
    {
        const SoundLab::Lock lock(*lab);
        pw_properties* properties =
            pw_properties_new(PW_KEY_OBJECT_LINGER, "true", PW_KEY_OBJECT_PATH, "velto.link",
                              PW_KEY_LINK_OUTPUT_NODE, DelayNames::node(aggregateUID).c_str(),
                              PW_KEY_LINK_OUTPUT_PORT, DelayNames::output(1, "FL").c_str(),
                              PW_KEY_LINK_INPUT_NODE, "blue", PW_KEY_LINK_INPUT_PORT, "playback_FL", nullptr);
        stray = static_cast<pw_proxy*>(pw_core_create_object(
            lab->core(), "link-factory", PW_TYPE_INTERFACE_Link, PW_VERSION_LINK, &properties->dict, 0));
        pw_properties_free(properties);
    }
    const auto isLinkedToBlue = [&] {
        const SoundLab::Lock lock(*lab);
        const PipeWireNode* blue = lab->graph().device("blue");
        return std::ranges::any_of(lab->graph().links(), [&](const auto& entry) {
            return entry.second.isOurs && blue && entry.second.inputNode == blue->globalID();
        });
    };
    EXPECT_TRUE(runUntil([&] { return log.count("Removing a link to blue") == 1 && !isLinkedToBlue(); }));
    EXPECT_EQ(ways(), std::pair(false, true)) << "the others stay";
    const SoundLab::Lock lock(*lab);
    pw_proxy_destroy(stray);
}

} // namespace
} // namespace velto
