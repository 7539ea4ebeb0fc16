// Whole stories of a user with two outputs, told to the coordinator over the simulated world.
#include "Tests/Support/Application.h"

#include <gmock/gmock.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velto {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using Operation = CoreAudioOperation;
using Error = AudioManagerError;

constexpr std::string_view ours = AggregateDeviceManager::aggregateUID;

/// The usual outputs; sound goes to the USB interface. Headphones and speakers play together.
class CoordinatorScenarioTests : public MachineTest {
  protected:
    CoordinatorScenarioTests() {
        plugUsualOutputs();
        launch();
        log.clear();
    }
    ~CoordinatorScenarioTests() override {
        if (app) app->quit();
        app.reset();
        loop.runUntilIdle();
    }

    void launch() {
        app = std::make_unique<Application>(*this);
        app->launch();
    }
    void play() {
        app->play("bluetooth", "builtin");
        ASSERT_TRUE(app->isPlaying());
    }
    DualOutputCoordinator& coordinator() { return app->coordinator; }
    void wake() {
        coordinator().handleWake();
        loop.runUntilIdle();
    }
    std::string title() { return coordinator().status().title(); }
    void expectSound(const InvariantContext& context = {}) {
        EXPECT_THAT(violations(*app, context), IsEmpty());
    }
    /// No session, and sound and alerts go where they went before.
    void expectSilentEnd() { expectSound({.defaultOutputs = {"usb"}, .alertOutputs = {"hdmi"}}); }

    std::unique_ptr<Application> app;
};

TEST_F(CoordinatorScenarioTests, PlaysTogetherAndRemembersThePair) {
    std::vector<std::string> titles;
    const auto subscription = coordinator().observe([&] {
        if (titles.empty() || titles.back() != title()) titles.push_back(title());
    });
    app->preferences.aggregateDeviceName.set(" Living room ");
    app->preferences.preferredSampleRate.set(PreferredSampleRate::rate44100);
    app->play("usb", "builtin");
    EXPECT_THAT(titles, ElementsAre("Preparing audio…", "Checking devices…", "Creating audio group…",
                                    "Starting playback…", "Playing Together"));
    EXPECT_EQ(world.aggregates().at(0).description.name, "Living room");
    EXPECT_EQ(world.aggregates().at(0).sampleRate, 44100);
    EXPECT_EQ(app->preferences.lastPreset()->first.uid, "usb");
    EXPECT_EQ(coordinator().activePresetID(), std::nullopt);
    expectSound();

    app->play("bluetooth", "builtin"); // instead
    EXPECT_EQ(app->preferences.lastPreset()->first.uid, "bluetooth");
    EXPECT_EQ(app->preferences.presets().size(), 1U);
    expectSound();
    app->stop();
    expectSilentEnd();
}

TEST_F(CoordinatorScenarioTests, LaunchCleansUpBeforeItLooksAtDevices) {
    app->preferences.autoConnect.set(true);
    play();
    const auto preset = coordinator().saveCurrentSessionAsPreset("Both");
    app->preferences.setAutoConnect(true, preset->id);
    defaults.synchronize(); // a second later
    Application::crash(app);
    unplug("bluetooth");
    world.faults.lingersAfterDestroy = 200ms;
    app = std::make_unique<Application>(*this);
    const auto launched = app->begin(app->state.launch());
    loop.runReady();
    ASSERT_FALSE(launched.isDone());
    replug("bluetooth"); // while it cleans up: that is no appearance
    EXPECT_TRUE(app->isIdle());
    expectSilentEnd();
    unplug("usb");
    EXPECT_TRUE(app->isIdle()) << "what was there at launch has not appeared";
    unplug("bluetooth");
    replug("bluetooth");
    EXPECT_TRUE(app->isPlaying());
    expectSound();
}

TEST_F(CoordinatorScenarioTests, QuitEndsTheSessionWhateverFails) {
    play();
    app->quit();
    EXPECT_TRUE(app->isIdle());
    EXPECT_EQ(world.listenerCount(), 0U);
    EXPECT_EQ(world.defaultOutputUID(), "usb");
    app->play("bluetooth", "builtin");
    EXPECT_TRUE(app->isIdle()) << "too late";

    launch();
    play();
    Application::crash(app);
    world.faults.lingersAfterDestroy = 200ms;
    app = std::make_unique<Application>(*this);
    app->begin(app->state.launch());
    loop.runReady();
    app->quit(); // while it still cleans up
    EXPECT_THAT(world.aggregates(), IsEmpty());
    EXPECT_EQ(world.listenerCount(), 0U);

    launch();
    play();
    world.calls.failNext(Operation::setDefaultOutputDevice, kAudioHardwareNotReadyError);
    app->quit();
    EXPECT_EQ(log.count("Routing error: Stop on shutdown failed: "), 1U);
    EXPECT_THAT(world.aggregates(), IsEmpty());
    EXPECT_EQ(world.listenerCount(), 0U);
}

// Presets

TEST_F(CoordinatorScenarioTests, PresetBringsItsVolumesBackAndFollowsThem) {
    play();
    app->volumes.setVolume(0.25F, "bluetooth");
    const auto saved = coordinator().saveCurrentSessionAsPreset("Evening");
    ASSERT_TRUE(saved);
    EXPECT_EQ(coordinator().activePresetID(), saved->id);
    EXPECT_EQ(app->preferences.preset(saved->id), saved);
    EXPECT_EQ(saved->deviceSettings.at("bluetooth").volume, 0.25F);
    EXPECT_EQ(saved->masterVolume, app->volumes.masterVolume());
    const auto stored = [&] { return app->preferences.preset(saved->id)->deviceSettings; };

    const auto expectWrites = [&](int expected, auto change) {
        const int before = defaults.writeCount();
        change();
        loop.runUntilIdle();
        EXPECT_EQ(defaults.writeCount() - before, expected);
    };
    const auto muteAll = [&] {
        app->volumes.together([&] {
            app->volumes.setMuted(true, "bluetooth");
            app->volumes.setMuted(true, "builtin");
        });
    };
    expectWrites(1, [&] { app->volumes.setMasterVolume(0.4F); });
    expectWrites(0, [&] { app->volumes.setMasterVolume(0.4F); });
    expectWrites(1, muteAll);
    expectWrites(0, muteAll);
    expectWrites(1, [&] { app->volumes.setMuted(false, "bluetooth"); });
    expectWrites(1, [&] { world.setVolume("bluetooth", 0.75F); }); // its own buttons
    EXPECT_EQ(stored().at("bluetooth").volume, 0.75F);
    EXPECT_EQ(stored().at("builtin").isMuted, true);
    EXPECT_EQ(app->preferences.preset(saved->id)->masterVolume, app->volumes.masterVolume());

    // One is gone: what it had is kept, though the other one changes.
    world.setVolume("bluetooth", 0.7F);
    world.unplug("bluetooth");
    loop.runNextTurn(); // the volume's listener is the first to find it gone
    app->volumes.setVolume(0.2F, "builtin");
    loop.runUntilIdle();
    app->volumes.setVolume(0.1F, "builtin");
    EXPECT_EQ(stored().at("bluetooth").volume, 0.75F);
    replug("bluetooth");
    app->stop();
    EXPECT_EQ(coordinator().activePresetID(), std::nullopt);
    world.setVolume("bluetooth", 0.5F);
    world.setMuted("builtin", false);
    const auto before = stored();
    loop.advance(1min);

    world.change("bluetooth", [](SimulatedDevice& device) { device.volumeStep = 0.14F; });
    app->activate(saved->id);
    EXPECT_EQ(coordinator().activePresetID(), saved->id);
    EXPECT_NEAR(volumeOf("bluetooth"), 0.7, 0.001) << "the nearest that it can";
    EXPECT_TRUE(*world.device("builtin").isMuted);
    EXPECT_EQ(stored(), before) << "what is applied is not written back";
    EXPECT_LT(app->preferences.preset(saved->id)->updatedAt, loop.now());
    expectSound();

    app->play("usb", "builtin"); // a plain start
    EXPECT_EQ(coordinator().activePresetID(), std::nullopt);
    app->volumes.setVolume(0.9F, "builtin");
    EXPECT_EQ(stored(), before);
    app->stop();
    EXPECT_EQ(coordinator().saveCurrentSessionAsPreset("Nothing"), std::nullopt);
}

TEST_F(CoordinatorScenarioTests, FailuresAreShownUntilDismissedAndClearThePreset) {
    app->play("usb", "usb");
    EXPECT_EQ(coordinator().lastError(), Error::sameDeviceSelected());
    EXPECT_THAT(app->preferences.presets(), IsEmpty());
    expectSilentEnd();
    coordinator().dismissError();
    EXPECT_TRUE(app->isIdle());

    for (const auto operation : {Operation::setDefaultOutputDevice, Operation::destroyAggregateDevice}) {
        play();
        ASSERT_TRUE(coordinator().saveCurrentSessionAsPreset("Both"));
        world.calls.failNext(operation, kAudioHardwareUnspecifiedError);
        app->stop();
        EXPECT_TRUE(coordinator().state().is<AudioSessionState::Failed>());
        EXPECT_TRUE(coordinator().lastError());
        EXPECT_EQ(coordinator().activePresetID(), std::nullopt);
        defaults.set(UserDefaultsRecoveryStateStore::key, std::string("unreadable"));
        const auto isReset = app->begin(coordinator().resetAudioConfiguration());
        app->reset(); // once is enough
        ASSERT_TRUE(isReset.isDone());
        EXPECT_EQ(defaults.storedValue(UserDefaultsRecoveryStateStore::key), std::nullopt);
        EXPECT_TRUE(app->isIdle()) << "what could not be removed is gone, too";
        EXPECT_EQ(coordinator().lastError(), std::nullopt);
        expectSound();
    }
    // A session is replaced by one that fails: neither session nor preset remain.
    play();
    ASSERT_TRUE(coordinator().saveCurrentSessionAsPreset("Both"));
    world.calls.failNext(Operation::createAggregateDevice, kAudioHardwareUnspecifiedError);
    app->play("usb", "builtin");
    EXPECT_TRUE(coordinator().lastError());
    expectSound();
}

// An output goes and comes back

TEST_F(CoordinatorScenarioTests, PausesOnceWhenAnOutputGoes) {
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

TEST_F(CoordinatorScenarioTests, AsksWhatToDoWhenAnOutputGoes) {
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

TEST_F(CoordinatorScenarioTests, RebuildsWhenAnOutputReturnsWithoutRejoining) {
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

TEST_F(CoordinatorScenarioTests, TakesTheOutputBackForFifteenSecondsOnly) {
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

TEST_F(CoordinatorScenarioTests, SomebodyElsesChoiceEndsTheSession) {
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

TEST_F(CoordinatorScenarioTests, ASwitchThatShowsLateIsNobodysChoice) {
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

TEST_F(CoordinatorScenarioTests, ASwitchThatNeverShowsEndsTheSessionAsAStop) {
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

TEST_F(CoordinatorScenarioTests, ASessionWithoutOutputsEndsAndComesBackWithThem) {
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
/// sound went to the display before.
class RestartedServiceTests : public CoordinatorScenarioTests {
  protected:
    using Kind = SessionEvent::Kind;

    RestartedServiceTests() {
        world.plug({.uid = "old", .name = "Old Amplifier"});
        unplug("hdmi"); // so that it is the last that the system would fall back to
        replug("hdmi");
        world.pickDefault("hdmi");
        pickAlertOutput("old");
        app->preferences.autoReconnect.set(true);
        coordinator().setEventHandler([this](const SessionEvent& event) { told.push_back(event.kind); });
    }
    void pickAlertOutput(const std::string& uid) {
        world.pickAlertOutput(uid);
        loop.runUntilIdle();
    }
    void playAndLose(const std::vector<std::string>& uids) {
        if (!app->isPlaying()) play();
        for (const std::string& uid : uids)
            world.unplug(uid);
        loop.runReady();
        app->restartAudioService();
        loop.runReady();
        EXPECT_EQ(world.defaultOutputUID(), uids.size() == 2 ? "usb" : "builtin");
        told.clear();
    }
    void expectPutBack() { expectSound({.defaultOutputs = {"hdmi"}, .alertOutputs = {"old"}}); }
    void comeBack() {
        for (const auto* uid : {"bluetooth", "builtin"})
            if (!world.isPlugged(uid)) world.replug(uid);
        loop.runUntilIdle();
    }

    const std::vector<std::string> both{"bluetooth", "builtin"};
    std::vector<Kind> told;
};

TEST_F(RestartedServiceTests, WhatTheSystemFallsBackToIsNobodysChoice) {
    playAndLose(both);
    loop.advance(4500ms);
    EXPECT_TRUE(coordinator().state().isActive()) << "they may come back";
    loop.runUntilIdle();
    EXPECT_TRUE(app->isIdle());
    EXPECT_THAT(told, ElementsAre(Kind::endedWithoutOutputs));
    expectPutBack();
    comeBack();
    EXPECT_TRUE(app->isPlaying());
    app->stop();
    expectPutBack();

    playAndLose(both); // it is stopped before
    app->stop();
    expectPutBack();
    comeBack();

    playAndLose(both); // they are back in time
    comeBack();
    ASSERT_TRUE(app->isPlaying());
    expectSound();
    app->stop();
    expectPutBack();

    playAndLose(both); // another two are played on instead
    app->play("usb", "old");
    ASSERT_TRUE(app->isPlaying());
    app->stop();
    expectPutBack();
    comeBack();
}

TEST_F(RestartedServiceTests, ASessionThatCannotBeRebuiltEndsAsOneWithoutOutputs) {
    app->preferences.disconnectBehavior.set(DisconnectBehavior::askUser);
    playAndLose({"bluetooth"});
    EXPECT_EQ(coordinator().pendingDisconnectDecision(), std::nullopt) << "nothing plays that could go on";
    loop.runUntilIdle();
    EXPECT_TRUE(app->isIdle());
    EXPECT_THAT(told, ElementsAre(Kind::endedByLostOutput));
    expectPutBack();
    comeBack();
    EXPECT_TRUE(app->isPlaying());

    playAndLose({"bluetooth"});
    loop.advance(4s);
    comeBack();
    EXPECT_TRUE(app->isPlaying()) << "back in time";
    EXPECT_THAT(told, IsEmpty());
    expectSound();
}

TEST_F(RestartedServiceTests, ASystemThatGoesOnFallingBackHasNotChosen) {
    playAndLose(both);
    world.replug("builtin");
    world.pickDefault("builtin"); // what has come back is gone over to
    loop.runReady();
    EXPECT_TRUE(coordinator().state().isActive());
    comeBack();
    EXPECT_TRUE(app->isPlaying());

    playAndLose(both); // but this is a choice
    pickDefault("old");
    EXPECT_TRUE(app->isIdle());
    EXPECT_THAT(told, ElementsAre(Kind::endedByChoice));
    expectSound({.defaultOutputs = {"old"}});
    pickDefault("hdmi");
    comeBack();

    playAndLose(both);
    world.unplug("usb");
    loop.runReady();
    EXPECT_EQ(world.defaultOutputUID(), "old");
    EXPECT_TRUE(coordinator().state().isActive());
    loop.runUntilIdle();
    EXPECT_THAT(told, ElementsAre(Kind::endedWithoutOutputs));
    expectPutBack();
}

TEST_F(RestartedServiceTests, WhatTheSystemHasGoneBackToIsNotChosenAnew) {
    pickDefault("usb");
    playAndLose(both);
    world.calls.clear();
    loop.runUntilIdle();
    EXPECT_TRUE(app->isIdle());
    EXPECT_EQ(world.calls.count(Operation::setDefaultOutputDevice), 0U);
    expectSound({.defaultOutputs = {"usb"}, .alertOutputs = {"old"}});
}

TEST_F(RestartedServiceTests, WhatWasLeftForWantOfAnAnswerIsPutBack) {
    for (const auto ending : {&Application::stop, &Application::reset}) {
        play();
        world.hangAudioService();
        (app.get()->*ending)();
        EXPECT_TRUE(coordinator().lastError()->isNoAnswer());
        app->restartAudioService();
        loop.runUntilIdle();
        expectPutBack();
        coordinator().dismissError();
    }
    // A stop that finds nobody any more, of a session that waited.
    playAndLose(both);
    world.hangAudioService();
    app->stop();
    EXPECT_TRUE(coordinator().lastError());
    world.resumeAudioService();
    loop.runUntilIdle();
    expectPutBack();
    comeBack();
}

TEST_F(CoordinatorScenarioTests, TheLostPairGoesBeforeAutoConnect) {
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

TEST_F(CoordinatorScenarioTests, ARebuildKnowsWhereSoundBelongs) {
    play();
    for (int restart = 0; restart < 2; ++restart) {
        app->restartAudioService();
        loop.runUntilIdle();
        ASSERT_TRUE(app->isPlaying());
        expectSound();
    }
    app->stop();
    expectSilentEnd();

    play();
    world.calls.failNext(Operation::createAggregateDevice, kAudioHardwareUnspecifiedError);
    app->restartAudioService();
    loop.runUntilIdle();
    EXPECT_TRUE(coordinator().state().is<AudioSessionState::Failed>());
    expectSilentEnd();
}

TEST_F(CoordinatorScenarioTests, ASessionThatHasLostItsAggregateIsRebuilt) {
    // The rebuild can't read the name of an output.
    play();
    world.calls.failNext(Operation::deviceName, kAudioHardwareUnspecifiedError);
    app->restartAudioService();
    loop.runUntilIdle();
    EXPECT_TRUE(app->isPlaying());
    expectSound();

    // The system has gone over to an output that was just back; the aggregate is not there to go back to.
    unplug("builtin");
    replug("builtin");
    world.removeAggregate(ours);
    loop.runUntilIdle();
    EXPECT_TRUE(app->isPlaying());
    expectSound();
}

TEST_F(CoordinatorScenarioTests, WhatWaitedBehindAnAbandonFindsWhatIsThere) {
    app->preferences.disconnectBehavior.set(DisconnectBehavior::askUser);
    const auto giveUp = [&] {
        play();
        world.faults.lingersAfterDestroy = 300ms;
        world.pickDefault("hdmi");
        loop.runReady();
        world.faults.lingersAfterDestroy = Duration();
    };
    // Another's error is not what plays.
    giveUp();
    const auto started = app->begin(app->playing("usb", "builtin"));
    loop.runReady();
    app->begin(coordinator().activatePreset(
        AudioPreset::create("Absent", app->device("gone"), app->device("gone"), {})));
    loop.runReady();
    EXPECT_TRUE(coordinator().lastError());
    loop.runUntilIdle();
    EXPECT_TRUE(app->isPlaying());
    EXPECT_EQ(coordinator().lastError(), std::nullopt);

    // One that waits when the program ends builds nothing more.
    giveUp();
    app->begin(app->playing("usb", "builtin"));
    loop.runReady();
    world.calls.clear();
    app->quit();
    EXPECT_EQ(world.calls.count(Operation::createAggregateDevice), 0U);
    launch();

    // What a reset has repaired is no error any more.
    play();
    world.calls.failNext(Operation::destroyAggregateDevice, kAudioHardwareUnspecifiedError);
    app->reset();
    EXPECT_TRUE(app->isIdle());
    EXPECT_EQ(coordinator().lastError(), std::nullopt);
    expectSound();
}

TEST_F(CoordinatorScenarioTests, WakesWithWhatIsLeft) {
    wake(); // nothing plays
    play();
    wake();
    EXPECT_TRUE(app->isPlaying());
    EXPECT_EQ(log.count("Session is unhealthy after wake"), 0U);

    app->restartAudioService();
    loop.runUntilIdle();
    EXPECT_EQ(log.count("Routing error: Session is unhealthy after wake"), 1U);
    EXPECT_TRUE(app->isPlaying()) << "rebuilt";
    expectSound();

    // What happened asleep is seen at once, before anybody is told of it.
    world.unplug("builtin");
    coordinator().handleWake();
    EXPECT_EQ(app->missing(), "builtin");
    replug("builtin");
    EXPECT_TRUE(app->isPlaying());

    // One output went, and the aggregate with it: no rebuild is tried without it.
    app->devices.stopObserving(); // nobody is told
    world.calls.clear();
    world.removeAggregate(ours);
    world.unplug("builtin");
    wake();
    EXPECT_EQ(world.calls.count(Operation::createAggregateDevice), 0U);
    EXPECT_EQ(app->missing(), "builtin");
    EXPECT_FALSE(app->volumes.state("builtin")->isConnected);
    EXPECT_FALSE(coordinator().isReconnecting());
    app->devices.startObserving();
}

// Auto Connect

TEST_F(CoordinatorScenarioTests, StartsByItselfWhenItsOutputsAreComplete) {
    const auto makePreset = [&](const std::string& name, std::string_view first, std::string_view second) {
        app->play(first, second);
        const UUID id = coordinator().saveCurrentSessionAsPreset(name)->id;
        app->preferences.setAutoConnect(true, id);
        app->stop();
        return id;
    };
    const UUID one = makePreset("One", "bluetooth", "builtin");
    const UUID two = makePreset("Two", "bluetooth", "usb");
    const auto appear = [&] {
        unplug("bluetooth");
        replug("bluetooth");
    };
    appear();
    EXPECT_TRUE(app->isIdle()) << "switched off altogether";
    app->preferences.autoConnect.set(true);
    pickDefault("hdmi");
    EXPECT_TRUE(app->isIdle()) << "complete all along";
    appear();
    EXPECT_EQ(coordinator().activePresetID(), one) << "the first of two";
    EXPECT_EQ(log.linesWith("Auto Connect"),
              std::vector<std::string>{"Routing notice: Auto Connect activating preset One"});
    expectSound();

    appear(); // during a session nothing starts
    EXPECT_EQ(log.count("Auto Connect"), 1U);
    unplug("bluetooth");
    world.faults.aliveAfter = 300ms;
    app->begin(app->playing("usb", "builtin"));
    loop.advance(200ms);
    replug("bluetooth"); // nor during a start
    ASSERT_TRUE(app->isPlaying());
    unplug("bluetooth");
    world.faults.lingersAfterDestroy = 250ms;
    app->begin(coordinator().stopDualOutput());
    loop.advance(100ms);
    replug("bluetooth"); // nor during a stop
    pickDefault("usb");
    EXPECT_EQ(log.count("Auto Connect"), 1U) << "nor later: what appeared then has been seen";
    world.faults = {};
    app->play("bluetooth", "builtin");
    world.change("bluetooth", [](SimulatedDevice& device) { device.isReadable = false; });
    unplug("hdmi");
    world.change("bluetooth", [](SimulatedDevice& device) { device.isReadable = true; });
    app->stop(); // the first to see it
    EXPECT_TRUE(app->isIdle());

    // Removed by the time it would start.
    unplug("bluetooth");
    world.replug("bluetooth");
    loop.runNextTurn();
    EXPECT_EQ(log.count("Auto Connect"), 2U);
    app->preferences.removePreset(one);
    loop.runUntilIdle();
    EXPECT_TRUE(app->isIdle());
    appear();
    EXPECT_EQ(coordinator().activePresetID(), two);
}

TEST_F(CoordinatorScenarioTests, LooksAgainAtWhatHappenedDuringAStartOrARebuild) {
    app->preferences.disconnectBehavior.set(DisconnectBehavior::askUser);
    world.faults.aliveAfter = 300ms;
    world.faults.notifiesSynchronously = true; // so that nothing is heard after it
    for (const bool isRebuild : {false, true}) {
        if (isRebuild) play();
        app->begin(isRebuild ? coordinator().reconnect() : app->playing("bluetooth", "builtin"));
        loop.advance(200ms);
        world.unplug("bluetooth");
        app->play("usb", "hdmi"); // ignored
        EXPECT_EQ(app->missing(), "bluetooth");
        EXPECT_TRUE(coordinator().pendingDisconnectDecision());
        expectSound();
        app->stop();
        replug("bluetooth");
    }
}

} // namespace
} // namespace velto
