// What a session makes of the sync profile of its outputs.

#include "Tests/Support/Application.h"

#include <gmock/gmock.h>

#include <map>
#include <memory>
#include <optional>
#include <string>

namespace velto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
using testing::Pair;
using Kind = SyncProfile::Kind;

class SessionSyncTests : public MachineTest {
  protected:
    SessionSyncTests() {
        plugUsualOutputs();
        world.delaysOutputs = true;
    }
    void launch() {
        app = std::make_unique<Application>(*this);
        app->launch();
    }
    void end() {
        app->quit();
        EXPECT_THAT(violations(*app), IsEmpty());
        app.reset();
    }
    std::map<std::string, double> delays() const { return world.aggregates().at(0).delays; }
    void correct(double milliseconds) {
        app->coordinator.setSyncCorrections({{"builtin", milliseconds}}, Kind::manual);
        loop.runUntilIdle();
    }
    std::optional<AudioManagerError> takeError() {
        const auto error = app->coordinator.lastError();
        app->coordinator.dismissError();
        return error;
    }

    std::unique_ptr<Application> app;
};

TEST_F(SessionSyncTests, TheProfileOfThePairHoldsWhateverHappensToTheSession) {
    launch();
    app->syncProfiles.save(
        {{"bluetooth", "builtin"}, "bluetooth", {{"bluetooth", -183.4}}, Kind::measured, {}});
    const auto applied = ElementsAre(Pair("bluetooth", 0), Pair("builtin", 183.4));
    app->play("builtin", "bluetooth");
    EXPECT_THAT(delays(), applied);
    app->finish(app->coordinator.reconnect());
    EXPECT_THAT(delays(), applied) << "rebuilt";
    unplug("bluetooth");
    replug("bluetooth");
    EXPECT_THAT(delays(), applied) << "rejoined";
    app->restartAudioService();
    loop.runUntilIdle();
    EXPECT_THAT(delays(), applied) << "built anew";
    correct(20);
    EXPECT_THAT(delays(), ElementsAre(Pair("bluetooth", 0), Pair("builtin", 20))) << "changed";
    EXPECT_THAT(violations(*app), IsEmpty());
    app->syncProfiles.remove(app->syncProfiles.profiles().at(0).id);
    EXPECT_THAT(delays(), ElementsAre(Pair("bluetooth", 0), Pair("builtin", 0))) << "removed";
    app->play("usb", "bluetooth");
    EXPECT_THAT(delays(), ElementsAre(Pair("bluetooth", 0), Pair("usb", 0))) << "another pair";
    end();
}

TEST_F(SessionSyncTests, NothingOfASessionIsLeftInTheNextWhicheverCallFails) {
    bool isReached = true;
    for (std::size_t call = 0; isReached; ++call) {
        SCOPED_TRACE(call);
        launch();
        app->play("bluetooth", "builtin");
        log.clear();
        world.calls.failCall(call, kAudioHardwareUnspecifiedError);
        app->play("usb", "builtin");
        isReached = world.calls.unconsumed().empty();
        world.calls.forgetFailures();
        const bool isRemovalFailed = log.count("RemovePropertyListener") > 0; // then one is left
        if (!isRemovalFailed)
            EXPECT_THAT(violations(*app, {.mayLeaveAggregate = true, .mayMissListeners = true}), IsEmpty());
        app->reset();
        Application::crash(app);
    }
}

TEST_F(SessionSyncTests, WhatIsNotToBeRememberedLastsAsLongAsTheSession) {
    launch();
    app->preferences.rememberSyncProfiles.set(false);
    app->play("builtin", "bluetooth");
    correct(20);
    EXPECT_THAT(delays(), testing::Contains(Pair("builtin", 20)));
    EXPECT_THAT(app->syncProfiles.profiles(), IsEmpty());
    app->finish(app->coordinator.reconnect());
    EXPECT_THAT(delays(), testing::Contains(Pair("builtin", 20)));
    app->stop();
    app->play("builtin", "bluetooth");
    EXPECT_THAT(delays(), testing::Contains(Pair("builtin", 0)));

    app->preferences.rememberSyncProfiles.set(true);
    app->preferences.defaultReferenceDeviceUID.set("bluetooth");
    correct(30);
    ASSERT_EQ(app->syncProfiles.profiles().size(), 1U);
    EXPECT_EQ(app->syncProfiles.profiles()[0].referenceUID, "bluetooth");
    end();
}

TEST_F(SessionSyncTests, DelaysThatCantBeHadAreToldOnceAndTheSessionGoesOn) {
    launch();
    app->play("builtin", "bluetooth");
    world.calls.failNext(CoreAudioOperation::setOutputDelays, kAudioHardwareUnspecifiedError);
    correct(20);
    EXPECT_THAT(takeError(), Optional(AudioManagerError::coreAudioError(kAudioHardwareUnspecifiedError)));
    correct(30);
    EXPECT_THAT(delays(), testing::Contains(Pair("builtin", 30))) << "tried again";
    world.loseDelays(AggregateDeviceManager::aggregateUID);
    loop.runUntilIdle();
    EXPECT_EQ(takeError(), std::nullopt) << "one word a session is enough";
    app->stop();

    app->play("builtin", "bluetooth");
    world.loseDelays(AggregateDeviceManager::aggregateUID);
    loop.runUntilIdle();
    EXPECT_THAT(takeError(), Optional(AudioManagerError::syncEngineFailed()));
    EXPECT_TRUE(app->isPlaying());
    EXPECT_THAT(violations(*app), IsEmpty());
    end();
}

TEST_F(SessionSyncTests, WhereTheSystemCantDelayNothingIsAskedOfItAndAProfileIsAnEstimate) {
    world.delaysOutputs = false;
    launch();
    app->play("builtin", "bluetooth");
    correct(20);
    EXPECT_EQ(takeError(), std::nullopt);
    EXPECT_EQ(world.calls.count(CoreAudioOperation::setOutputDelays), 0U);
    EXPECT_TRUE(app->isPlaying());
    end();
}

} // namespace
} // namespace velto
