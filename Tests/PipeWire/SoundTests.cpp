#include "Tests/PipeWire/RealServer.h"

#include "Platform/Linux/PipeWire/PipeWireKeys.h"
#include "Tools/SoundLab/OutputRecorder.h"
#include "Tools/SoundLab/RunningVelto.h"

#include <cstdlib>

namespace velto {
namespace {

using testing::ElementsAre;

class SoundTests : public RealServer {
  protected:
    void record(std::vector<std::string> outputs) {
        recorder.emplace(*lab, std::move(outputs), OutputRecorder::GraphClock::dummyDriver, 120);
    }
    /// Whether the output is heard from now on; waits for it.
    bool isHeard(const std::string& output) {
        const std::int64_t now = recorder->frames();
        return runUntil([&] { return recorder->heardUntil(output) > now; });
    }
    /// Whether the output is silent for the next tenth of a second.
    bool isSilent(const std::string& output) {
        const std::int64_t now = recorder->frames();
        return runUntil([&] { return recorder->frames() > now + OutputRecorder::sampleRate / 10; }) &&
               recorder->heardUntil(output) <= now;
    }

    /// From programs, one a channel.
    std::ptrdiff_t linksInto(const std::string& output) {
        const SoundLab::Lock lock(*lab);
        const PipeWireNode* node = lab->graph().device(output);
        return std::ranges::count_if(lab->graph().links(), [&](const auto& entry) {
            return node && entry.second.inputNode == node->globalID();
        });
    }

    std::optional<OutputRecorder> recorder;

    RunningVelto runVelto() { return {VELTO_PROGRAM, server.environment(), server.folder() / "velto.log"}; }

  private:
    void TearDown() override {
        recorder.reset();
        RealServer::TearDown();
    }
};

TEST_F(SoundTests, WhatAnOutputPassesOnDoesNotComeBackToTheAggregate) {
    const auto equaliser = [this] {
        return std::make_unique<ChildProcess>(
            std::vector<std::string>{"pw-loopback", "--capture-props",
                                     "media.class=Audio/Sink node.name=equaliser", "--playback-props",
                                     "node.name=equalised"},
            ChildProcess::Options{server.environment(), server.folder() / "equaliser.log", false});
    };
    auto filter = equaliser();
    ASSERT_TRUE(runUntil([&] { return isPlayedTo("desk"); })) << "it passes on to the default output";
    stopClient();
    record({"desk", "usb"});
    RunningVelto velto = runVelto();
    velto.require({"play", "equaliser", "usb"});
    const auto music = play();
    EXPECT_TRUE(isHeard("usb"));
    EXPECT_TRUE(isHeard("desk")) << "by the equaliser";

    filter->kill();
    velto.waitForState("degraded");
    EXPECT_TRUE(isHeard("usb"));
    filter = equaliser(); // which has another group now, and passes on to the aggregate
    ASSERT_TRUE(runUntil([&] { return linksInto(aggregateUID) == 4; }));
    EXPECT_TRUE(isHeard("usb"));
    velto.require({"reconnect"});
    EXPECT_TRUE(isHeard("usb"));
    EXPECT_TRUE(isHeard("desk"));
    velto.require({"quit"});
    EXPECT_TRUE(isHeard("desk"));
}

TEST_F(SoundTests, EveryOutputOfAnAggregateIsHeardAndNoOther) {
    lab->plug(VirtualOutput::hdmi("display", "Display"));
    record({"desk", "usb", "display", "blue"});
    const AudioObjectID aggregate = createAggregate({"desk", "usb", "display"});
    switchTo(aggregate);
    const auto music = play();
    EXPECT_TRUE(isHeard("desk") && isHeard("usb") && isHeard("display"));
    EXPECT_TRUE(isSilent("blue"));
    client->setOutputMute(id("usb"), true);
    EXPECT_TRUE(runUntil([&] { return isSilent("usb"); }));
    EXPECT_TRUE(isHeard("desk"));
    client->setOutputMute(id("usb"), false);
    client->setOutputVolume(aggregate, 0);
    client->setOutputMute(aggregate, true);
    ASSERT_TRUE(client->settle());
    EXPECT_TRUE(isHeard("desk") && isHeard("usb")) << "the aggregate's own volume makes no difference";
    lab->pickDefault("blue");
    EXPECT_TRUE(isHeard("blue"));
    client->destroyAggregateDevice(aggregate);
    EXPECT_TRUE(runUntil([&] { return isSilent("usb"); }));
    switchTo(id("desk"));
}

TEST_F(SoundTests, AKilledProgramLeavesBothPlayingAndALaterRunCleansUp) {
    setSetting(PipeWireKey::forcedRate, "44100");
    ASSERT_TRUE(runUntil([&] { return client->nominalSampleRate(id("desk")) == 44100; }));
    record({"desk", "usb"});
    const auto music = play();
    {
        RunningVelto velto = runVelto();
        ASSERT_EQ(velto.command({"play", "desk", "usb"}).error, "");
        ASSERT_TRUE(isHeard("desk") && isHeard("usb"));
        EXPECT_EQ(client->nominalSampleRate(id("desk")), 48000);
        velto.process().kill();
    }
    EXPECT_TRUE(isHeard("desk") && isHeard("usb")) << "the server plays on by itself";
    EXPECT_EQ(defaultUID(), aggregateUID);
    EXPECT_EQ(alertUID(), aggregateUID);
    const AudioObjectID left = id(aggregateUID);
    EXPECT_THAT(client->aggregateActiveSubDeviceIDs(left), ElementsAre(id("desk"), id("usb")));
    EXPECT_EQ(client->aggregateMainSubDeviceUID(left), "desk");
    EXPECT_TRUE(client->subDeviceDriftCompensation(id("usb")));
    EXPECT_EQ(statusThrown([&] { createAggregate({"desk", "blue"}); }), kAudioHardwareIllegalOperationError);

    RunningVelto later = runVelto();
    EXPECT_TRUE(isPutBack());
    EXPECT_TRUE(leavesNoNotes()) << testing::PrintToString(ourNotes());
    EXPECT_TRUE(lab->waitUntil([&] { return !lab->defaultMetadata(PipeWireKey::configuredSink); }));
    EXPECT_TRUE(becomesForced("44100"));
    EXPECT_TRUE(isHeard("desk"));
    EXPECT_TRUE(runUntil([&] { return isSilent("usb"); }));

    ASSERT_EQ(later.command({"play", "desk", "blue"}).error, "");
    later.process().signal(SIGTERM); // ends in good order
    EXPECT_EQ(later.process().wait(std::chrono::seconds(10)), 0);
    EXPECT_TRUE(isPutBack());
    EXPECT_TRUE(becomesForced("44100"));
}

TEST_F(SoundTests, AResetPutsEverythingBackAndLosesNothingThatIsNeeded) {
    lab->pickDefault("desk"); // chosen, not only in force
    record({"desk", "usb"});
    const auto music = play();
    RunningVelto velto = runVelto();
    ASSERT_EQ(velto.command({"reset"}).error, "") << "of nothing";
    ASSERT_EQ(velto.command({"play", "desk", "usb"}).error, "");
    ASSERT_EQ(velto.command({"volume", "50%", "usb"}).error, "");
    ASSERT_EQ(velto.command({"presets", "save", "Evening"}).error, "");
    ASSERT_TRUE(isHeard("desk") && isHeard("usb"));
    lab->unplug("usb"); // degraded, as it may be when somebody resorts to this
    EXPECT_EQ(velto.command({"reset"}).error, "");
    EXPECT_TRUE(isPutBack());
    EXPECT_EQ(alertUID(), "desk");
    EXPECT_TRUE(leavesNoNotes()) << testing::PrintToString(ourNotes());
    EXPECT_TRUE(isHeard("desk"));

    lab->plug(usual("usb"));
    lab->setChannelVolumes("usb", 1);
    EXPECT_TRUE(isSilent("usb"));
    EXPECT_EQ(velto.command({"play", "Evening"}).error, "");
    EXPECT_TRUE(isHeard("desk") && isHeard("usb"));
    EXPECT_FLOAT_EQ(lab->channelVolume("usb"), 0.125F) << "half of the cubic scale";
    EXPECT_EQ(velto.command({"quit"}).error, "");
    EXPECT_EQ(velto.process().wait(std::chrono::seconds(10)), 0);
    EXPECT_TRUE(runUntil([&] { return defaultUID() == "desk"; }));
    EXPECT_TRUE(leavesNoNotes()) << "taken away before the program ended";
}

TEST_F(SoundTests, EveryReplugWhilePlayingIsHeardAgain) {
    const char* wanted = std::getenv("VELTO_SOAK");
    const int count = wanted ? std::atoi(wanted) : 20;
    record({"desk", "usb"});
    const AudioObjectID aggregate = createAggregate({"desk", "usb"});
    switchTo(aggregate);
    const auto music = play();
    ASSERT_TRUE(isHeard("desk") && isHeard("usb"));
    for (int i = 0; i < count; ++i) {
        const std::string returning = i % 4 == 3 ? "desk" : "usb";
        const std::string staying = returning == "usb" ? "desk" : "usb";
        lab->unplug(returning);
        ASSERT_TRUE(isHeard(staying)) << i;
        lab->plug(usual(returning));
        ASSERT_TRUE(isHeard(returning)) << i;
        ASSERT_TRUE(isHeard(staying)) << i;
        ASSERT_TRUE(runUntil([&] { return client->aggregateActiveSubDeviceIDs(aggregate).size() == 2; }))
            << i;
        ASSERT_EQ(defaultUID(), aggregateUID) << i;
    }
    switchTo(id("desk"));
    client->destroyAggregateDevice(aggregate);
}

} // namespace
} // namespace velto
