// Whole stories of a user with two outputs, told to the coordinator over the simulated world.
#include "Tests/Scenarios/CoordinatorStory.h"

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

class CoordinatorScenarioTests : public CoordinatorStory {};

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
