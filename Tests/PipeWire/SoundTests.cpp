#include "Tests/PipeWire/RealServer.h"

#include "Platform/Linux/PipeWire/PipeWireKeys.h"
#include "Tools/SoundLab/OutputRecorder.h"

#include <nlohmann/json.hpp>

#include <cstdlib>
#include <map>

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
    void makeDefault(AudioObjectID device) {
        client->setDefaultOutputDevice(device);
        client->setDefaultSystemOutputDevice(device);
    }

    std::optional<OutputRecorder> recorder;

  private:
    void TearDown() override {
        recorder.reset();
        RealServer::TearDown();
    }
};

/// The session program, driven by its lines.
class Session {
  public:
    explicit Session(const PrivateSoundServer& server)
        : process_({VELTO_SESSION_PROGRAM}, {server.environment(), server.folder() / "session.log", true}) {
        EXPECT_EQ(answer("event", "ready").value("connected", false), true);
    }
    /// The error of the command, which is empty for success.
    std::string perform(const std::string& command) {
        process_.writeLine(command);
        return answer("done", command).value("error", "no answer");
    }
    ChildProcess& process() { return process_; }

  private:
    /// The next line with that member.
    nlohmann::json answer(const std::string& key, const std::string& value) {
        while (const auto line = process_.readLine(std::chrono::seconds(10))) {
            auto object = nlohmann::json::parse(*line);
            if (object.value(key, "") == value) return object;
        }
        return nlohmann::json::object();
    }

    ChildProcess process_;
};

TEST_F(SoundTests, EveryOutputOfAnAggregateIsHeardAndNoOther) {
    lab->plug(VirtualOutput::hdmi("display", "Display"));
    record({"desk", "usb", "display", "blue"});
    const AudioObjectID aggregate = createAggregate({"desk", "usb", "display"});
    makeDefault(aggregate);
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
    makeDefault(id("desk"));
}

TEST_F(SoundTests, AKilledProgramLeavesBothPlayingAndALaterRunCleansUp) {
    setSetting(PipeWireKey::forcedRate, "44100");
    ASSERT_TRUE(runUntil([&] { return client->nominalSampleRate(id("desk")) == 44100; }));
    record({"desk", "usb"});
    const auto music = play();
    {
        Session session(server);
        ASSERT_EQ(session.perform("start desk usb"), "");
        ASSERT_TRUE(isHeard("desk") && isHeard("usb"));
        EXPECT_EQ(client->nominalSampleRate(id("desk")), 48000);
        session.process().kill();
    }
    EXPECT_TRUE(isHeard("desk") && isHeard("usb")) << "the server plays on by itself";
    EXPECT_EQ(defaultUID(), aggregateUID);
    EXPECT_EQ(alertUID(), aggregateUID);
    const AudioObjectID left = id(aggregateUID);
    EXPECT_THAT(client->aggregateActiveSubDeviceIDs(left), ElementsAre(id("desk"), id("usb")));
    EXPECT_EQ(client->aggregateMainSubDeviceUID(left), "desk");
    EXPECT_TRUE(client->subDeviceDriftCompensation(id("usb")));
    EXPECT_EQ(statusThrown([&] { createAggregate({"desk", "blue"}); }), kAudioHardwareIllegalOperationError);

    Session later(server);
    EXPECT_EQ(later.perform("recover"), "");
    EXPECT_TRUE(runUntil([&] { return id(aggregateUID) == kAudioObjectUnknown && defaultUID() == "desk"; }));
    EXPECT_TRUE(leavesNoNotes()) << testing::PrintToString(ourNotes());
    EXPECT_TRUE(lab->waitUntil([&] { return !lab->defaultMetadata(PipeWireKey::configuredSink); }));
    EXPECT_TRUE(becomesForced("44100"));
    EXPECT_TRUE(isHeard("desk"));
    EXPECT_TRUE(runUntil([&] { return isSilent("usb"); }));
    EXPECT_EQ(later.perform("recover"), "There was nothing to recover");

    ASSERT_EQ(later.perform("start desk blue"), "");
    later.process().signal(SIGTERM); // ends in good order
    EXPECT_EQ(later.process().wait(std::chrono::seconds(10)), 0);
    EXPECT_TRUE(runUntil([&] { return id(aggregateUID) == kAudioObjectUnknown && defaultUID() == "desk"; }));
    EXPECT_TRUE(becomesForced("44100"));
}

TEST_F(SoundTests, AResetPutsEverythingBackAndLosesNothingThatIsNeeded) {
    lab->pickDefault("desk"); // chosen, not only in force
    record({"desk", "usb"});
    const auto music = play();
    Session session(server);
    ASSERT_EQ(session.perform("reset"), "") << "of nothing";
    ASSERT_EQ(session.perform("start desk usb"), "");
    ASSERT_EQ(session.perform("volume usb 0.5"), "");
    ASSERT_EQ(session.perform("save Evening"), "");
    ASSERT_TRUE(isHeard("desk") && isHeard("usb"));
    lab->unplug("usb"); // degraded, as it may be when somebody resorts to this
    EXPECT_EQ(session.perform("reset"), "");
    EXPECT_TRUE(runUntil([&] { return id(aggregateUID) == kAudioObjectUnknown && defaultUID() == "desk"; }));
    EXPECT_EQ(alertUID(), "desk");
    EXPECT_TRUE(leavesNoNotes()) << testing::PrintToString(ourNotes());
    EXPECT_TRUE(isHeard("desk"));

    lab->plug(VirtualOutput::usb("usb", "USB Interface"));
    lab->setChannelVolumes("usb", 1);
    EXPECT_TRUE(isSilent("usb"));
    EXPECT_EQ(session.perform("recover"), "There was nothing to recover");
    EXPECT_EQ(session.perform("activate Evening"), "");
    EXPECT_TRUE(isHeard("desk") && isHeard("usb"));
    EXPECT_FLOAT_EQ(lab->channelVolume("usb"), 0.125F) << "half of the cubic scale";
    session.process().signal(SIGTERM);
    EXPECT_EQ(session.process().wait(std::chrono::seconds(10)), 0);
    EXPECT_TRUE(runUntil([&] { return defaultUID() == "desk"; }));
    EXPECT_TRUE(leavesNoNotes()) << "taken away before the program ended";
}

TEST_F(SoundTests, EveryReplugWhilePlayingIsHeardAgain) {
    const char* wanted = std::getenv("VELTO_SOAK");
    const int count = wanted ? std::atoi(wanted) : 20;
    record({"desk", "usb"});
    const AudioObjectID aggregate = createAggregate({"desk", "usb"});
    makeDefault(aggregate);
    const auto music = play();
    ASSERT_TRUE(isHeard("desk") && isHeard("usb"));
    const std::map<std::string, VirtualOutput> outputs{
        {"usb", VirtualOutput::usb("usb", "USB Interface")},
        {"desk", VirtualOutput::builtIn("desk", "Desk Speakers")}};
    for (int i = 0; i < count; ++i) {
        const std::string returning = i % 4 == 3 ? "desk" : "usb";
        const std::string staying = returning == "usb" ? "desk" : "usb";
        lab->unplug(returning);
        ASSERT_TRUE(isHeard(staying)) << i;
        lab->plug(outputs.at(returning));
        ASSERT_TRUE(isHeard(returning)) << i;
        ASSERT_TRUE(isHeard(staying)) << i;
        ASSERT_TRUE(runUntil([&] { return client->aggregateActiveSubDeviceIDs(aggregate).size() == 2; }))
            << i;
        ASSERT_EQ(defaultUID(), aggregateUID) << i;
    }
    makeDefault(id("desk"));
    client->destroyAggregateDevice(aggregate);
}

} // namespace
} // namespace velto
