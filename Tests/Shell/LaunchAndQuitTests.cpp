// How the application starts, ends, sleeps, and outlives the audio service.
#include "Tests/Shell/ShellTest.h"

#include <chrono>

namespace velto {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

class LaunchTests : public ShellTest {};

TEST_F(LaunchTests, WelcomesOnceHoweverTheWindowIsClosed) {
    boot();
    EXPECT_THAT(desktop.policies, ElementsAre(Policy::accessory)) << "before anything else";
    EXPECT_FALSE(isWindowOpen);
    run();
    EXPECT_THAT(desktop.policies, ElementsAre(Policy::accessory, Policy::accessory));
    EXPECT_TRUE(isWindowOpen);
    EXPECT_EQ(desktop.activations, 1);
    EXPECT_TRUE(log.contains("Lifecycle notice: Velto 1.0 launched"));
    // Left open at the end: the next launch welcomes again.
    quit();
    isWindowOpen = false;
    launch();
    EXPECT_TRUE(isWindowOpen);
    window->close();
    EXPECT_TRUE(preferences().hasCompletedOnboarding());

    quit();
    preferences().showInDock.set(true);
    desktop.policies.clear();
    launch();
    EXPECT_FALSE(isWindowOpen);
    EXPECT_EQ(desktop.activations, 2);
    EXPECT_THAT(desktop.policies, ElementsAre(Policy::accessory, Policy::regular));
}

TEST_F(LaunchTests, CleansUpAfterACrashAndFillsInTheLastPair) {
    launch();
    play("bluetooth", "builtin");
    defaults.synchronize();
    crash();
    EXPECT_EQ(world.aggregates().size(), 1U);

    desktop.bundleValues.clear();
    launch();
    EXPECT_THAT(menuBar().firstDeviceUID(), Optional(std::string("bluetooth")));
    EXPECT_THAT(menuBar().secondDeviceUID(), Optional(std::string("builtin")));
    EXPECT_TRUE(log.contains("Lifecycle notice: Velto dev launched"));
    context = {.defaultOutputs = {"usb"}, .alertOutputs = {"hdmi"}};
}

TEST_F(LaunchTests, IsOverWhenTheUserQuitsFirst) {
    launch();
    play("bluetooth", "builtin");
    defaults.synchronize();
    crash();
    world.faults.lingersAfterDestroy = 500ms;
    boot();
    while (!state().systemAudio().isOperationRunning())
        loop.runNextTurn();
    EXPECT_EQ(quit(), Reply::now);
    EXPECT_FALSE(desktop.isSleepObserved());
    EXPECT_FALSE(isWindowOpen && desktop.activations > 1);
    EXPECT_EQ(world.listenerCount(), 0U);
    EXPECT_THAT(menuBar().firstDeviceUID(), testing::Eq(std::nullopt));
}

class QuitTests : public ShellTest {
  protected:
    QuitTests() {
        launch();
        context = {.defaultOutputs = {"usb"}, .alertOutputs = {"hdmi"}};
    }
    /// Quits, twice. By the time the program is let go, the machine must be as it was before.
    void expectReplyAfterCleanUp() {
        EXPECT_EQ(app->applicationShouldTerminate(), Reply::later);
        EXPECT_TRUE(app->isShuttingDown());
        EXPECT_EQ(app->applicationShouldTerminate(), Reply::later);
        while (desktop.terminationReplies == 0)
            ASSERT_TRUE(loop.runNextTurn()) << "it was never let go";
        EXPECT_THAT(world.aggregates(), IsEmpty());
        EXPECT_EQ(world.defaultOutputUID(), "usb");
        EXPECT_EQ(world.listenerCount(), 0U);
        run();
        EXPECT_EQ(app->applicationShouldTerminate(), Reply::now) << "there is nothing left to wait for";
        run();
        EXPECT_EQ(desktop.terminationReplies, 1);
        EXPECT_EQ(log.count("Lifecycle notice: Velto terminating"), 1U) << "the others started nothing";
    }
};

TEST_F(QuitTests, AnswersAtOnceWhenIdleAndStartsNothingMore) {
    choose("bluetooth", "builtin");
    menuBar().play(); // it has not had its first turn when the user quits
    EXPECT_EQ(app->applicationShouldTerminate(), Reply::now);
    menuBar().play();
    run();
    EXPECT_FALSE(menuBar().isPlaying());
    EXPECT_EQ(world.calls.count(CoreAudioOperation::createAggregateDevice), 0U);
    EXPECT_EQ(desktop.terminationReplies, 0);
    EXPECT_TRUE(log.contains("Lifecycle notice: Velto terminating; playing: false"));
}

TEST_F(QuitTests, WaitsForTheSessionToEnd) {
    play("bluetooth", "builtin");
    settings().startSyncTest();
    expectReplyAfterCleanUp();
    EXPECT_FALSE(settings().isSyncTestRunning());
    EXPECT_TRUE(log.contains("Lifecycle notice: Velto terminating; playing: true"));
}

TEST_F(QuitTests, LetsTheProgramGoEvenIfTheOutputsCantBeRestored) {
    play("bluetooth", "builtin");
    world.calls.failAlways(CoreAudioOperation::setDefaultOutputDevice, kAudioHardwareUnspecifiedError);
    EXPECT_EQ(quit(), Reply::later);
    EXPECT_EQ(desktop.terminationReplies, 1);
    world.calls.succeed(CoreAudioOperation::setDefaultOutputDevice);
    context = {};
}

class SleepTests : public QuitTests {};

TEST_F(SleepTests, RebuildsAnUnhealthySessionTwoSecondsAfterTheWake) {
    play("bluetooth", "builtin");
    desktop.fallAsleep();
    loop.sleepMachine(8h);
    desktop.wakeUp();
    // The default output can't be read then: for all one knows, the session is lost.
    for (int read = 0; read < 2; ++read)
        world.calls.failNext(CoreAudioOperation::defaultOutputDeviceID, kAudioHardwareUnspecifiedError);
    loop.advance(1999ms);
    EXPECT_EQ(log.count("Session is unhealthy after wake"), 0U);
    loop.advance(1ms);
    run();
    EXPECT_EQ(log.count("Session is unhealthy after wake"), 1U);
    EXPECT_TRUE(menuBar().isPlaying());
    EXPECT_TRUE(log.contains("Lifecycle notice: Mac is going to sleep"));
    EXPECT_TRUE(log.contains("Lifecycle notice: Mac woke from sleep"));
    context = {};
}

class AudioServiceTests : public QuitTests {
  protected:
    /// The audio service is away, or hangs and does late what it is asked.
    void loseService(bool isHanging) {
        world.faults.obeysLate = isHanging;
        isHanging ? world.hangAudioService() : world.stopAudioService();
    }
    void bringServiceBack() {
        world.startAudioService();
        world.resumeAudioService();
        run();
        world.faults.obeysLate = false;
        // Where the service has gone with the aggregate, the system chose where sound goes since.
        context = {.defaultOutputs = {"usb", "builtin"}, .alertOutputs = {"hdmi", "builtin"}};
        EXPECT_THAT(violations(*this, state(), context), IsEmpty());
    }
};

const AudioManagerError noAnswer = AudioManagerError::coreAudioError(kAudioHardwareNotRunningError);

TEST_F(AudioServiceTests, NothingIsThrownAwayForWantOfAnAnswer) {
    for (const bool isHanging : {false, true}) {
        SCOPED_TRACE(isHanging);
        play("bluetooth", "builtin");
        defaults.synchronize();
        crash();
        const auto hasRecord = [&] { return preferences().loadRecoveryState().has_value(); };
        loseService(isHanging);
        launch(); // it meets nobody who could tell what is left of the session
        EXPECT_TRUE(hasRecord());
        EXPECT_EQ(quit(), Reply::now);
        EXPECT_TRUE(hasRecord()) << "it is for the next launch";
        launch();
        bringServiceBack();
        EXPECT_FALSE(hasRecord());

        // The same for a stop, and for a quit.
        play("bluetooth", "builtin");
        loseService(isHanging);
        menuBar().stop();
        run();
        EXPECT_EQ(coordinator().lastError(), noAnswer);
        EXPECT_TRUE(hasRecord());
        menuBar().play();
        run();
        EXPECT_EQ(coordinator().lastError(), noAnswer);
        coordinator().dismissError();
        settings().beginReset();
        run();
        EXPECT_EQ(coordinator().lastError(), noAnswer);
        EXPECT_TRUE(hasRecord());
        bringServiceBack();
        EXPECT_EQ(coordinator().lastError(), std::nullopt);
        EXPECT_TRUE(coordinator().state().is<AudioSessionState::Idle>());

        play("bluetooth", "builtin");
        loseService(isHanging);
        EXPECT_EQ(quit(), Reply::later);
        EXPECT_TRUE(hasRecord());
        launch();
        bringServiceBack();
        world.pickDefault("usb");
        world.pickAlertOutput("hdmi");
        run();
    }
}

TEST_F(AudioServiceTests, ASessionGoesOnWhileNobodyAnswers) {
    play("bluetooth", "builtin");
    const auto playing = coordinator().state();
    for (const bool isHanging : {true, false}) {
        loseService(isHanging);
        state().deviceManager().handleChange();
        coordinator().handleWake();
        run();
        EXPECT_EQ(coordinator().state(), playing);
        EXPECT_EQ(state().deviceManager().devices().size(), 5U);
        if (isHanging) { // it hears of it when there is an answer, no sooner
            unplug("builtin");
            EXPECT_EQ(coordinator().state(), playing);
            world.replug("builtin");
        }
        world.resumeAudioService();
        world.startAudioService();
        run();
        EXPECT_TRUE(menuBar().isPlaying());
        EXPECT_THAT(violations(*this, state()), IsEmpty());
        world.faults.obeysLate = false;
    }
    context = {};
}

TEST_F(AudioServiceTests, RebuildsTheSessionAndHearsOfEverythingAgain) {
    play("bluetooth", "builtin");
    const UUID preset = save("Desk");
    menuBar().setVolume(0.25F, "bluetooth");
    world.restartAudioService();
    run();
    EXPECT_TRUE(menuBar().isPlaying()) << "not given up because the default is another one";
    EXPECT_EQ(coordinator().activePresetID(), preset);
    EXPECT_FLOAT_EQ(volumeOf("bluetooth"), 0.25F);
    EXPECT_THAT(violations(*this, state()), IsEmpty());

    world.setVolume("bluetooth", 0.75F);
    run();
    EXPECT_FLOAT_EQ(state().volumeController().state("bluetooth")->volume, 0.75F);
    state().volumeController().renewListeners(); // as after a restart that left all object IDs
    EXPECT_THAT(violations(*this, state()), IsEmpty());
    world.setMuted("bluetooth", true);
    run();
    EXPECT_TRUE(state().volumeController().state("bluetooth")->isMuted);
    unplug("bluetooth");
    EXPECT_EQ(menuBar().statusTitle(), "Headphones disconnected");
    context = {};
}

TEST_F(AudioServiceTests, MakesGoodForWhatCameWhileItWasAway) {
    play("bluetooth", "builtin");
    presets().toggleAutoConnect(save("Desk"));
    preferences().autoConnect.set(true);
    menuBar().stop();
    run();
    unplug("bluetooth");
    world.stopAudioService();
    world.replug("bluetooth");
    world.startAudioService();
    run();
    EXPECT_TRUE(menuBar().isPlaying());
}

} // namespace
} // namespace velto
