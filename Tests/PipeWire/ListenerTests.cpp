#include "Tests/PipeWire/RealServer.h"
#include "Tests/PipeWire/ServedDevice.h"

#include "Platform/Linux/PipeWire/PipeWireKeys.h"

#include <thread>

namespace velto {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class ListenerTests : public RealServer {
  protected:
    static constexpr AudioObjectID systemObject = kAudioObjectSystemObject;

    /// Notes calls by name.
    PropertyListenerHandler note(const char* name) {
        return [this, name] { calls.emplace_back(name); };
    }
    bool isTold(const char* name) {
        return runUntil([&] { return std::ranges::find(calls, name) != calls.end(); });
    }

    std::vector<std::string> calls;
};

TEST_F(ListenerTests, EachPropertyTellsOfItsOwnChangesOnly) {
    const ServedDevice served(*lab, "served", "Audio/Sink", SPA_DIRECTION_INPUT);
    ASSERT_TRUE(runUntil([&] { return id("served") != kAudioObjectUnknown; }));
    settle();
    const AudioObjectID usb = id("usb");
    listen(systemObject, kAudioHardwarePropertyDevices, note("devices"));
    listen(systemObject, kAudioHardwarePropertyDefaultOutputDevice, note("default"));
    listen(systemObject, kAudioHardwarePropertyDefaultSystemOutputDevice, note("alert"));
    listen(systemObject, kAudioHardwarePropertyServiceRestarted, note("restart"));
    listen(usb, kAudioDevicePropertyVolumeScalar, note("scalar"));
    listen(usb, kAudioDevicePropertyDeviceIsRunningSomewhere, note("running"));
    listen(usb, kAudioDevicePropertyDeviceIsAlive, note("alive"));
    listen(usb, kAudioDevicePropertyNominalSampleRate, note("rate"));
    listen(id("served"), kAudioObjectPropertyName, note("name"));
    const auto volume = client->addOutputVolumeListener(usb, note("volume"));
    const auto mute = client->addOutputMuteListener(usb, note("mute"));
    EXPECT_EQ(client->listenerCount(), 11u);

    const auto expectCalls = [&](auto matcher, const char* what) {
        EXPECT_TRUE(runUntil([&] { return testing::Matches(matcher)(calls); })) << what;
        settle();
        EXPECT_THAT(calls, matcher) << what << ": no more than that";
        calls.clear();
    };
    using testing::UnorderedElementsAre;
    lab->setChannelVolumes("usb", 0.5F);
    expectCalls(UnorderedElementsAre("volume", "scalar"), "volume by another program");
    client->setOutputVolume(usb, 1);
    expectCalls(UnorderedElementsAre("volume", "scalar"), "volume of our own");
    client->setOutputMute(usb, true);
    client->setOutputMute(usb, false);
    client->setOutputMute(usb, true);
    expectCalls(ElementsAre("mute"), "changes in one turn are one");
    setSetting(PipeWireKey::forcedRate, "44100");
    expectCalls(ElementsAre("rate"), "rate");
    setSetting(PipeWireKey::forcedRate, "0");
    expectCalls(ElementsAre("rate"), "rate back");
    served.rename("Another Name");
    expectCalls(ElementsAre("name"), "name");
    EXPECT_EQ(client->deviceName(id("served")), "Another Name");
    lab->pickDefault("usb");
    expectCalls(UnorderedElementsAre("default", "alert"), "alerts follow");
    client->setDefaultSystemOutputDevice(id("blue"));
    expectCalls(ElementsAre("alert"), "alert");
    client->setDefaultSystemOutputDevice(usb);
    expectCalls(ElementsAre("alert"), "alert back");
    {
        const auto music = play();
        expectCalls(ElementsAre("running"), "plays");
    }
    expectCalls(ElementsAre("running"), "stops");
    client->setDefaultOutputDevice(id("desk"));
    expectCalls(UnorderedElementsAre("default", "alert"), "default");
    lab->unplug("usb");
    expectCalls(UnorderedElementsAre("devices", "alive"), "unplugged");
    client->removePropertyListener(volume); // of a device that is gone
    client->removePropertyListener(mute);
    EXPECT_THAT(log.linesWith(" error: "), IsEmpty());
}

TEST_F(ListenerTests, AHandlerMayWaitForTheServer) {
    listen(systemObject, kAudioHardwarePropertyDevices, [&] {
        client->setOutputVolume(id("desk"), 0.5F);
        calls.emplace_back("waited");
    });
    listen(systemObject, kAudioHardwarePropertyDevices, note("next"));
    lab->unplug("blue");
    ASSERT_TRUE(isTold("next"));
    EXPECT_THAT(calls, ElementsAre("waited", "next"));
    client->setOutputVolume(id("desk"), 1);
}

class ServerLifeTests : public ListenerTests {};

TEST_F(ServerLifeTests, ASessionManagerThatDiesTakesItsAnswersWithItUntilItReturns) {
    listen(systemObject, kAudioHardwarePropertyServiceRestarted, [&] {
        calls.emplace_back("restart");
        EXPECT_NE(client->defaultOutputDeviceID(), kAudioObjectUnknown) << "who is told can ask";
    });
    listen(systemObject, kAudioHardwarePropertyDefaultOutputDevice, note("default"));
    listen(systemObject, kAudioHardwarePropertyDevices, note("devices"));
    ASSERT_TRUE(client->settle()); // that is not asked anything now
    server.killSessionManager();
    EXPECT_TRUE(runUntil([&] {
        return statusThrown([&] { client->defaultOutputDeviceID(); }) == kAudioHardwareNotRunningError;
    }));
    EXPECT_THAT(deviceUIDs(), ElementsAre("desk", "usb", "blue"));
    EXPECT_THAT(calls, Not(Contains("restart")));
    server.startSessionManager();
    EXPECT_TRUE(isTold("restart"));
    // A session manager that starts gives the outputs their ports anew: for a moment there may be no default.
    EXPECT_TRUE(runUntil([&] { return defaultUID() == "desk"; }));
    EXPECT_THAT(calls, Not(Contains("devices")));

    // Both while a call waits: one that asked in between was refused, and is to hear when it can ask again.
    ASSERT_TRUE(client->settle());
    calls.clear();
    server.killSessionManager();
    while (statusThrown([&] { client->defaultOutputDeviceID(); }) == noErr)
        client->settle();
    server.startSessionManager();
    while (statusThrown([&] { client->defaultOutputDeviceID(); }) != noErr)
        client->settle();
    EXPECT_TRUE(isTold("restart"));
}

TEST_F(ServerLifeTests, WhomTheServerHasForgottenConnectsAnewAndWhoMerelyWaitsDoesNot) {
    int restarts = 0;
    listen(systemObject, kAudioHardwarePropertyServiceRestarted, [&] { ++restarts; });
    const AudioObjectID desk = id("desk");
    struct Case {
        bool dies;
        int seconds; // until it dies, or goes on
    };
    for (const auto& [dies, seconds] : {Case{false, 4}, Case{true, 0}, Case{true, 2}}) {
        ASSERT_EQ(kill(server.sessionManagerID(), SIGSTOP), 0);
        // It asks what the store holds now, and is read again when the session manager has said it.
        EXPECT_NE(statusThrown([&] { client->setDefaultOutputDevice(id("usb")); }), noErr);
        // In two seconds a witness is forgotten, too.
        const ContinuousInstant end = loop.continuousNow() + std::chrono::seconds(seconds);
        ASSERT_TRUE(runUntil([&] { return loop.continuousNow() >= end; }));
        EXPECT_EQ(restarts, 0);
        if (dies) {
            server.killSessionManager();
            server.startSessionManager();
        } else {
            ASSERT_EQ(kill(server.sessionManagerID(), SIGCONT), 0);
        }
        EXPECT_TRUE(runUntil([&] { return restarts == 1; }));
        EXPECT_EQ(id("desk") == desk, !dies) << "what it knew was lost only where that had to be";
        client->setDefaultOutputDevice(id("desk"));
        restarts = 0;
    }
    // Its server, or the program itself, may go while a witness is out.
    for (const bool isServer : {true, false}) {
        ASSERT_EQ(kill(server.sessionManagerID(), SIGSTOP), 0);
        EXPECT_NE(statusThrown([&] { client->setDefaultOutputDevice(id("usb")); }), noErr);
        const ContinuousInstant end = loop.continuousNow() + std::chrono::seconds(2);
        ASSERT_TRUE(runUntil([&] { return loop.continuousNow() >= end; }));
        isServer ? killServer() : stopListening();
        if (!isServer) stopClient();
        server.killSessionManager();
        isServer ? restartServer() : server.startSessionManager();
        if (!isServer) startClient();
        EXPECT_TRUE(runUntil([&] { return defaultUID() == "desk"; }));
    }
}

TEST_F(ServerLifeTests, AServerThatDiesAnswersNothingAndItsReturnIsToldOnce) {
    const std::vector<AudioObjectID> before = client->allDeviceIDs();
    const AudioObjectID aggregate = createAggregate({"desk", "usb"});
    switchTo(aggregate);
    listen(systemObject, kAudioHardwarePropertyDevices, note("devices"));
    listen(systemObject, kAudioHardwarePropertyDefaultOutputDevice, note("default"));
    listen(aggregate, kAudioDevicePropertyDeviceIsAlive, note("alive"));
    listen(systemObject, kAudioHardwarePropertyServiceRestarted, [&] {
        calls.emplace_back("restart");
        EXPECT_THAT(deviceUIDs(), ElementsAre("desk", "usb", "blue"));
        EXPECT_EQ(defaultUID(), "desk");
    });
    settle();
    calls.clear();
    int losses = 0;
    const Subscription loss = client->observeServiceLoss([&] { ++losses; });
    killServer();
    EXPECT_TRUE(runUntil([&] { return losses == 1; }));
    EXPECT_FALSE(client->isConnected());
    const std::vector<std::function<void()>> operations{
        [&] { client->allDeviceIDs(); },
        [&] { client->deviceID("desk"); },
        [&] { client->deviceName(before.front()); },
        [&] { client->defaultOutputDeviceID(); },
        [&] { client->defaultSystemOutputDeviceID(); },
        [&] { client->setDefaultOutputDevice(before.front()); },
        [&] { client->setOutputVolume(before.front(), 0.5F); },
        [&] {
            createAggregate({"desk", "usb"});
        },
        [&] { client->destroyAggregateDevice(aggregate); },
    };
    for (const auto& operation : operations)
        EXPECT_EQ(statusThrown(operation), kAudioHardwareNotRunningError);
    EXPECT_FALSE(client->isAlive(before.front()));
    settle();
    EXPECT_THAT(calls, IsEmpty()) << "no answer is no change";
    EXPECT_THAT(calls, Not(Contains("restart")));

    restartServer();
    EXPECT_TRUE(isTold("restart") && isTold("devices") && isTold("default") && isTold("alive"));
    for (const AudioObjectID device : client->allDeviceIDs()) {
        EXPECT_THAT(before, Not(Contains(device))) << "an ID is never used again";
        EXPECT_GT(device, aggregate);
    }
    calls.clear();
    lab->unplug("blue");
    EXPECT_TRUE(isTold("devices")) << "listeners work as before";
    settle();
    EXPECT_THAT(calls, Not(Contains("restart")));
    const AudioObjectID next = createAggregate({"desk", "usb"});
    EXPECT_THAT(client->aggregateActiveSubDeviceIDs(next), ElementsAre(id("desk"), id("usb")));
    client->destroyAggregateDevice(next);
}

TEST_F(ServerLifeTests, AServerThatIsNotThereYetIsWaitedFor) {
    stopClient();
    killServer();
    client.emplace(loop, loop, server.socket());
    EXPECT_FALSE(client->isConnected());
    EXPECT_EQ(statusThrown([&] { client->allDeviceIDs(); }), kAudioHardwareNotRunningError);
    listen(systemObject, kAudioHardwarePropertyServiceRestarted, note("restart"));
    listen(systemObject, kAudioHardwarePropertyDevices, note("devices"));
    restartServer();
    EXPECT_TRUE(isTold("restart") && isTold("devices"));
    EXPECT_THAT(deviceUIDs(), ElementsAre("desk", "usb", "blue"));
    EXPECT_EQ(defaultUID(), "desk");
}

TEST_F(ServerLifeTests, AServerThatDiesDuringACallEndsTheWait) {
    // Held still, so that the call is waiting when the end comes.
    ASSERT_EQ(kill(server.daemonID(), SIGSTOP), 0);
    std::jthread killer([this] { killServer(); });
    const ContinuousInstant before = loop.continuousNow();
    EXPECT_NE(statusThrown([&] { createAggregate({"desk", "usb"}); }), noErr);
    EXPECT_LT(loop.continuousNow() - before, pipeWireDeadline);
    killer.join();
    EXPECT_TRUE(runUntil([&] { return !client->isConnected(); }));
    restartServer();
    EXPECT_TRUE(runUntil([&] { return defaultUID() == "desk"; }));
}

TEST_F(ServerLifeTests, DeathAfterDeathIsSurvived) {
    int restarts = 0;
    listen(systemObject, kAudioHardwarePropertyServiceRestarted, [&] { ++restarts; });
    for (int round = 1; round <= 5; ++round) {
        createAggregate({"desk", "usb"});
        killServer();
        restartServer(); // the client has noticed nothing yet
        ASSERT_TRUE(runUntil([&] { return restarts == round; })) << round;
    }
    settle();
    EXPECT_EQ(restarts, 5);
}

} // namespace
} // namespace velto
