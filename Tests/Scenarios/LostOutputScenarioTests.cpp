// Whole stories of outputs that go and come back, one or all of them, and of choices by others.
#include "Tests/Scenarios/CoordinatorStory.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velto {
namespace {

using namespace std::chrono_literals;
using Operation = CoreAudioOperation;
using Error = AudioManagerError;

class LostOutputScenarioTests : public CoordinatorStory {};

// An output goes and comes back

TEST_F(LostOutputScenarioTests, PausesOnceWhenAnOutputGoes) {
    app->preferences.disconnectBehavior.set(DisconnectBehavior::pauseGroup);
    play();
    unplug("bluetooth");
    EXPECT_TRUE(app->isIdle());
    EXPECT_TRUE(log.contains("Routing notice: Disconnect behaviour is pauseGroup; stopping"));
    expectSilentEnd();

    // Set while already degraded: that is no new loss.
    replug("bluetooth");
    app->preferences.disconnectBehavior.set(DisconnectBehavior::keepPlaying);
    play();
    unplug("bluetooth");
    app->preferences.disconnectBehavior.set(DisconnectBehavior::pauseGroup);
    unplug("hdmi");
    EXPECT_EQ(app->missing(), "bluetooth");
}

TEST_F(LostOutputScenarioTests, AsksWhatToDoWhenAnOutputGoes) {
    app->preferences.disconnectBehavior.set(DisconnectBehavior::askUser);
    for (const bool keepPlaying : {true, false}) {
        play();
        unplug("builtin");
        ASSERT_TRUE(coordinator().pendingDisconnectDecision());
        EXPECT_EQ(coordinator().pendingDisconnectDecision()->uid, "builtin");
        EXPECT_EQ(app->missing(), "builtin");
        app->finish(coordinator().resolveDisconnect(keepPlaying));
        EXPECT_EQ(coordinator().pendingDisconnectDecision(), std::nullopt);
        EXPECT_EQ(app->isIdle(), !keepPlaying);
        expectSound();
        replug("builtin");
    }
    // Other answers.
    world.faults.doesNotRejoin = true;
    const std::vector<std::function<void()>> answers{
        [&] { app->play("usb", "bluetooth"); }, [&] { app->stop(); },
        [&] { replug("builtin"); }, // though it takes no part
    };
    for (const auto& answer : answers) {
        play();
        unplug("builtin");
        answer();
        EXPECT_EQ(coordinator().pendingDisconnectDecision(), std::nullopt);
        expectSound();
        if (!world.isPlugged("builtin")) replug("builtin");
    }
}

TEST_F(LostOutputScenarioTests, RebuildsWhenAnOutputReturnsWithoutRejoining) {
    play();
    const auto preset = coordinator().saveCurrentSessionAsPreset("Both").value();
    world.faults.doesNotRejoin = true;
    unplug("bluetooth");
    replug("bluetooth");
    EXPECT_EQ(title(), "Headphones reconnected");
    app->volumes.setVolume(0.44F, "builtin");
    EXPECT_EQ(app->preferences.preset(preset.id), preset) << "nothing is written back while degraded";
    expectSound();

    unplug("bluetooth");
    app->finish(coordinator().reconnect());
    EXPECT_EQ(app->missing(), "bluetooth") << "nothing is touched";
    app->preferences.autoReconnect.set(true);
    std::vector<std::string> titles;
    const auto subscription = coordinator().observe([&] {
        if (titles.empty() || titles.back() != title()) titles.push_back(title());
    });
    app->volumes.setVolume(0.33F, "builtin");
    const auto lastUsed = app->preferences.lastPreset();
    world.replugWithAnotherID("bluetooth");
    loop.runUntilIdle();
    EXPECT_THAT(titles, testing::Contains("Reconnecting…"));
    EXPECT_TRUE(app->isPlaying());
    EXPECT_EQ(coordinator().state().session()->first.deviceID, world.objectID("bluetooth"));
    EXPECT_EQ(coordinator().activePresetID(), preset.id);
    EXPECT_EQ(coordinator().lastError(), std::nullopt);
    EXPECT_EQ(app->preferences.lastPreset(), lastUsed);
    expectSound();

    world.faults.aliveAfter = 100ms;
    app->begin(coordinator().reconnect());
    loop.advance(50ms);
    world.setVolume("builtin", 1); // as devices do that begin to play anew
    loop.runUntilIdle();
    EXPECT_EQ(volumeOf("builtin"), 0.33F);
    expectSound();

    // A rebuild that fails is the end of the session.
    world.calls.failNext(Operation::createAggregateDevice, kAudioHardwareUnspecifiedError);
    app->finish(coordinator().reconnect());
    EXPECT_TRUE(coordinator().state().is<AudioSessionState::Failed>());
    EXPECT_TRUE(coordinator().lastError());
    expectSound({.defaultOutputs = {"usb"}});
}

TEST_F(LostOutputScenarioTests, TakesTheOutputBackForFifteenSecondsOnly) {
    play();
    struct Return {
        std::string uid;
        Duration timeAgo;
        bool isReasserted;
    };
    for (const auto& [uid, timeAgo, isReasserted] :
         {Return{"bluetooth", 10s, true}, Return{"builtin", 15s, true},
          Return{"bluetooth", 15001ms, false}}) {
        unplug(uid);
        replug(uid);
        loop.advance(timeAgo);
        log.clear();
        pickDefault(uid);
        EXPECT_EQ(app->isPlaying(), isReasserted) << timeAgo.count();
        EXPECT_EQ(log.count("Routing notice: macOS routed output to a reconnected session device"),
                  isReasserted ? 1U : 0U);
        expectSound({.defaultOutputs = {uid}});
    }
    EXPECT_TRUE(app->isIdle());
}

TEST_F(LostOutputScenarioTests, SomebodyElsesChoiceEndsTheSession) {
    play();
    ASSERT_TRUE(coordinator().saveCurrentSessionAsPreset("Both"));
    world.faults.lingersAfterDestroy = 300ms;
    world.pickDefault("hdmi");
    loop.runReady();
    app->begin(coordinator().reconnect()); // while the session is being given up
    unplug("bluetooth");
    EXPECT_TRUE(app->isIdle());
    EXPECT_EQ(log.count("Default output switched away from the aggregate; ending session"), 1U);
    EXPECT_EQ(coordinator().lastError(), std::nullopt);
    expectSound({.defaultOutputs = {"hdmi"}});
}

TEST_F(LostOutputScenarioTests, ASwitchThatShowsLateIsNobodysChoice) {
    app->preferences.autoReconnect.set(true);
    for (const Duration late : {Duration(1ms), Duration(100ms), Duration(4900ms), Duration(7s)}) {
        SCOPED_TRACE(late.count());
        world.faults.slowOutputChange = late;
        app->begin(app->playing("bluetooth", "builtin"));
        loop.runReady();
        world.unplug("bluetooth"); // devices change while the default output still reads old
        replug("bluetooth");
        ASSERT_TRUE(app->isPlaying());
        expectSound();
        app->finish(coordinator().reconnect());
        ASSERT_TRUE(app->isPlaying());
        expectSound();
        app->stop();
        expectSilentEnd();
        world.faults.slowOutputChange = Duration();
    }
    // Somebody else's choice is one all the same.
    world.faults.slowOutputChange = 1s;
    app->begin(app->playing("bluetooth", "builtin"));
    loop.advance(100ms);
    ASSERT_TRUE(app->isPlaying());
    world.pickDefault("hdmi");
    loop.advance(100ms);
    EXPECT_TRUE(app->isIdle());
    loop.runUntilIdle();
    expectSound({.defaultOutputs = {"hdmi"}});
    world.faults.slowOutputChange = Duration();
}

TEST_F(LostOutputScenarioTests, ASwitchThatNeverShowsEndsTheSessionAsAStop) {
    world.faults.slowOutputChange = 24h;
    app->begin(app->playing("bluetooth", "builtin"));
    loop.advance(2s);
    loop.sleepMachine(8h); // which doesn't count
    world.calls.clear();
    loop.advance(2400ms);
    EXPECT_EQ(world.calls.count(Operation::setDefaultOutputDevice), 0U);
    loop.advance(700ms);
    EXPECT_EQ(world.calls.count(Operation::setDefaultOutputDevice), 1U) << "once more";
    world.hangAudioService(); // nor does this
    app->volumes.setVolume(0.5F, "builtin");
    loop.advance(1min);
    EXPECT_TRUE(app->isPlaying());
    world.resumeAudioService();
    loop.advance(4s);
    EXPECT_TRUE(app->isPlaying());
    loop.advance(7s);
    EXPECT_TRUE(app->isIdle());
    ASSERT_TRUE(coordinator().lastError());
    EXPECT_TRUE(std::holds_alternative<Error::CannotSetDefaultOutput>(coordinator().lastError()->kind()));
    world.faults.slowOutputChange = Duration();
    loop.runUntilIdle();
    expectSilentEnd();
}

// All outputs lost

TEST_F(LostOutputScenarioTests, ASessionWithoutOutputsEndsAndComesBackWithThem) {
    app->preferences.autoReconnect.set(true);
    app->preferences.disconnectBehavior.set(DisconnectBehavior::askUser);
    const auto lose = [&] {
        for (const auto* uid : {"bluetooth", "builtin"})
            if (world.isPlugged(uid)) world.unplug(uid);
        loop.runReady();
        EXPECT_FALSE(coordinator().pendingDisconnectDecision()) << "nothing remains";
    };
    const auto comeBack = [&] {
        for (const auto* uid : {"builtin", "bluetooth"})
            if (!world.isPlugged(uid)) replug(uid);
    };
    play();
    const auto preset = coordinator().saveCurrentSessionAsPreset("Both").value();
    app->volumes.setVolume(0.3F, "bluetooth");
    lose();
    loop.advance(2s);
    loop.sleepMachine(1h);
    loop.advance(2400ms);
    EXPECT_TRUE(coordinator().state().isActive()) << "time asleep doesn't count";
    loop.runUntilIdle();
    EXPECT_TRUE(app->isIdle());
    EXPECT_EQ(coordinator().lastError(), std::nullopt);
    expectSilentEnd();
    replug("builtin");
    EXPECT_TRUE(app->isIdle());
    replug("bluetooth");
    ASSERT_TRUE(app->isPlaying());
    EXPECT_EQ(coordinator().state().session()->first.uid, "bluetooth");
    EXPECT_EQ(coordinator().activePresetID(), preset.id);
    EXPECT_EQ(volumeOf("bluetooth"), 0.3F);
    expectSound();

    // Both are back while it ends.
    world.faults.lingersAfterDestroy = 300ms;
    lose();
    loop.advance(5100ms);
    for (const auto* uid : {"bluetooth", "builtin"})
        world.replug(uid);
    loop.runUntilIdle();
    world.faults.lingersAfterDestroy = Duration();
    ASSERT_TRUE(app->isPlaying());

    // One is back in time.
    lose();
    loop.advance(4s);
    replug("builtin");
    EXPECT_EQ(app->missing(), "bluetooth");
    loop.advance(1min);
    EXPECT_EQ(app->missing(), "bluetooth");
    replug("bluetooth");
    EXPECT_TRUE(app->isPlaying());

    // Nobody who could play instead, or who could say so: it waits for that.
    for (const auto* uid : {"usb", "hdmi"})
        world.unplug(uid);
    lose();
    loop.advance(1min);
    EXPECT_TRUE(coordinator().state().isActive());
    for (const auto* uid : {"usb", "hdmi"})
        world.replug(uid);
    loop.runUntilIdle();
    EXPECT_TRUE(app->isIdle());
    comeBack();
    ASSERT_TRUE(app->isPlaying());

    // While nobody answers it doesn't wake up to wait.
    lose();
    world.stopAudioService();
    loop.advance(1min);
    EXPECT_EQ(loop.pendingTimers(), 0U);
    world.startAudioService();
    loop.runUntilIdle();
    EXPECT_TRUE(app->isIdle());
    comeBack();
    app->play("bluetooth", "builtin");
    ASSERT_TRUE(app->isPlaying());

    // What somebody wants meanwhile counts; what the system does by itself doesn't.
    struct Between {
        std::string what;
        std::function<void()> happens;
        bool isAgainStarted;
    };
    for (const auto& [what, happens, isAgainStarted] :
         {Between{"stopped", [&] { app->stop(); }, false},
          Between{"chosen", [&] { pickDefault("hdmi"); }, false},
          Between{"default gone", [&] { unplug("usb"); }, true},
          Between{"system follows the return",
                  [&] {
                      replug("builtin");
                      pickDefault("builtin");
                  },
                  true},
          Between{"reconnect by hand", [&] { app->preferences.autoReconnect.set(false); }, true}}) {
        SCOPED_TRACE(what);
        lose();
        loop.runUntilIdle();
        EXPECT_TRUE(app->isIdle());
        happens();
        comeBack();
        EXPECT_EQ(app->isPlaying(), isAgainStarted);
        if (!world.isPlugged("usb")) replug("usb");
        pickDefault("usb");
        if (!app->isPlaying()) play();
    }
    lose();
    loop.runUntilIdle();
    comeBack();
    EXPECT_TRUE(app->isIdle()) << "reconnecting is switched off";
}

/// The audio service takes the aggregate with it: what the system falls back to is the USB interface, and

TEST_F(LostOutputScenarioTests, TheLostPairGoesBeforeAutoConnect) {
    app->play("usb", "bluetooth");
    app->preferences.setAutoConnect(true, coordinator().saveCurrentSessionAsPreset("Other")->id);
    app->preferences.autoConnect.set(true);
    app->preferences.autoReconnect.set(true);
    for (const bool isWaiting : {true, false}) {
        play();
        if (!isWaiting) app->stop();
        world.unplug("builtin");
        unplug("bluetooth");
        log.clear();
        replug("builtin");
        replug("bluetooth");
        ASSERT_TRUE(app->isPlaying());
        EXPECT_EQ(coordinator().state().session()->first.uid, isWaiting ? "bluetooth" : "usb");
        EXPECT_EQ(log.count("Auto Connect"), isWaiting ? 0U : 1U);
        expectSound();
    }
}

} // namespace
} // namespace velto
