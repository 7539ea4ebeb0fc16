// Whole stories of a session whose aggregate goes, with the audio service or alone.
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

constexpr std::string_view ours = AggregateDeviceManager::aggregateUID;

class LostAggregateScenarioTests : public CoordinatorStory {};

/// sound went to the display before.
class RestartedServiceTests : public CoordinatorStory {
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

TEST_F(LostAggregateScenarioTests, ARebuildKnowsWhereSoundBelongs) {
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

TEST_F(LostAggregateScenarioTests, ASessionThatHasLostItsAggregateIsRebuilt) {
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

} // namespace
} // namespace velto
