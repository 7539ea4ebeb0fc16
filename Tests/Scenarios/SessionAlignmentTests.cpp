// Outputs of a session that are measured with a microphone, in a virtual room and virtual time.

#include "Tests/Support/Application.h"

#include <gmock/gmock.h>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velto {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using Failure = AlignmentFailure;
using Kind = SyncProfile::Kind;
using Trouble = Microphone::Recording::Trouble;

class SessionAlignmentTests : public MachineTest {
  protected:
    SessionAlignmentTests() {
        plugUsualOutputs();
        world.plug(SimulatedDevice::microphone());
        world.delaysOutputs = true;
        room.acoustics.noise = 0.0005;
        begin();
    }
    ~SessionAlignmentTests() override { app.reset(); }

    void begin() {
        app = std::make_unique<Application>(*this);
        app->launch();
        app->play("builtin", "bluetooth");
    }
    SessionAlignment& alignment() { return app->state.alignment(); }
    void hear(double builtin, double bluetooth) {
        room.outputs["builtin"].milliseconds = builtin;
        room.outputs["bluetooth"].milliseconds = bluetooth;
    }
    std::map<std::string, double> delays() const { return world.aggregates().at(0).delays; }
    bool isSilenced() const {
        return std::ranges::any_of(world.aggregates(),
                                   [](const auto& entry) { return entry.sweeps.has_value(); });
    }
    /// The sentence at the end, and how long it took.
    std::string align(const std::string& input = {}) {
        const ContinuousInstant start = loop.continuousNow();
        alignment().start(input);
        while (alignment().isRunning() && loop.continuousNow() - start < 30s)
            loop.advance(50ms);
        taken = loop.continuousNow() - start;
        EXPECT_FALSE(isSilenced());
        EXPECT_EQ(room.openCount, 0);
        return alignment().state().end ? alignment().state().end->sentence : "";
    }
    std::optional<Failure> failure() { return alignment().state().end->failure; }

    std::unique_ptr<Application> app;
    Duration taken{};
};

TEST_F(SessionAlignmentTests, TheEarlierOutputIsDelayedOnceASecondMeasurementHasConfirmedIt) {
    const std::string builtin = app->device("builtin").name;
    const std::string bluetooth = app->device("bluetooth").name;
    hear(12, 195.4);
    EXPECT_EQ(align(), bluetooth + " was 183.4 ms late. Both now arrive together (±0.1 ms).");
    EXPECT_LE(taken, 6s);
    EXPECT_THAT(delays(), ElementsAre(Pair("bluetooth", 0), Pair("builtin", 183.4)));
    ASSERT_EQ(app->syncProfiles.profiles().size(), 1U);
    EXPECT_EQ(app->syncProfiles.profiles()[0].kind, Kind::measured);
    EXPECT_EQ(align("microphone"), "Both arrive together already (±0.1 ms).");
    hear(500, 0.3); // from what they are delayed by now
    EXPECT_EQ(align(), builtin + " was 683.1 ms late. Both now arrive together (±0.1 ms).");
    EXPECT_THAT(delays(), ElementsAre(Pair("bluetooth", 499.7), Pair("builtin", 0)));
    app->preferences.rememberSyncProfiles.set(false);
    hear(500, 20.3);
    EXPECT_EQ(align(), bluetooth + " was 20.0 ms late. Both now arrive together (±0.1 ms).");
    EXPECT_EQ(app->syncProfiles.profiles()[0].correction("bluetooth"), 499.7) << "this one is not remembered";
    EXPECT_THAT(violations(*app), IsEmpty());
    app->quit();
}

TEST_F(SessionAlignmentTests, WhatCantBeToldIsNeverGuessedAndChangesNothing) {
    app->coordinator.setSyncCorrections({{"builtin", 20}}, Kind::manual);
    loop.runUntilIdle();
    const auto before = app->syncProfiles.profiles();
    struct Case {
        Failure failure;
        std::function<void()> arrange;
        std::string input = {};
    };
    const std::vector<Case> cases{
        {Failure::tooQuiet,
         [&] {
             room.acoustics.noise = 0;
             room.outputs["builtin"].gain = room.outputs["bluetooth"].gain = 0;
         }},
        {Failure::clipped, [&] { room.acoustics.ceiling = 0.02; }},
        {Failure::tooNoisy,
         [&] {
             room.acoustics.noise = 8;
             room.acoustics.ceiling = 100;
         }},
        {Failure::firstNotHeard, [&] { room.outputs["builtin"].gain = 0; }},
        {Failure::secondNotHeard, [&] { room.outputs["bluetooth"].gain = 0; }},
        {Failure::disagreement, [&] { loop.postAfter(3s, [&] { hear(10, 60); }); }},
        {Failure::unclear, [&] { hear(10, 1200); }},
        {Failure::noInput, [&] { room.isRefused = true; }},
        {Failure::noInput, [&] { room.input.clear(); }},
        {Failure::noInput, [&] { room.trouble = Trouble::anotherInput; }},
        {Failure::noInput, [&] {}, "usb"},
        {Failure::anotherInput, [&] { room.trouble = Trouble::anotherInput; }, "microphone"},
        {Failure::inputLost, [&] { loop.postAfter(1s, [&] { room.trouble = Trouble::ended; }); }},
        {Failure::inputLost, [&] { loop.postAfter(1s, [&] { room.input.clear(); }); }},
        {Failure::refused,
         [&] { world.calls.failNext(CoreAudioOperation::playSweeps, kAudioHardwareUnspecifiedError); }},
        {Failure::refused,
         [&] { world.calls.failNext(CoreAudioOperation::setOutputDelays, kAudioHardwareUnspecifiedError); }},
    };
    for (const Case& wanted : cases) {
        room = {};
        room.acoustics.noise = 0.0005;
        hear(10, 110);
        wanted.arrange();
        SCOPED_TRACE(align(wanted.input));
        EXPECT_EQ(failure(), wanted.failure);
        ASSERT_TRUE(app->syncProfiles.profiles() == before);
        EXPECT_THAT(delays(), ElementsAre(Pair("bluetooth", 0), Pair("builtin", 20)));
    }
    app->stop();
    align();
    EXPECT_EQ(failure(), Failure::noSession);
    world.delaysOutputs = false;
    app->quit();
}

TEST_F(SessionAlignmentTests, WhateverComesInBetweenEndsItAtOnceAndPutsBackWhatWas) {
    struct Interruption {
        Failure failure;
        std::function<void()> happen;
        bool hasSession = true;
    };
    const std::vector<Interruption> interruptions{
        {Failure::cancelled, [&] { alignment().cancel(); }},
        {Failure::asleep, [&] { desktop.fallAsleep(); }},
        {Failure::sessionChanged,
         [&] {
             app->coordinator.setSyncCorrections({{"bluetooth", 5}}, Kind::manual);
         }},
        {Failure::sessionChanged, [&] { app->finish(app->coordinator.reconnect()); }},
        {Failure::sessionChanged, [&] { app->stop(); }, false},
        {Failure::outputLost,
         [&] {
             world.unplug("bluetooth");
             loop.runReady();
         }},
        {Failure::cancelled, [&] { app->quit(); }, false},
    };
    hear(10, 110);
    for (const Interruption& interruption : interruptions) {
        for (const Duration moment : {0ms, 40ms, 1000ms, 3000ms}) {
            SCOPED_TRACE(testing::Message()
                         << &interruption - interruptions.data() << " at " << moment / 1ms);
            alignment().start();
            alignment().start(); // a second press is none
            loop.advance(moment);
            ASSERT_TRUE(alignment().isRunning());
            interruption.happen();
            EXPECT_FALSE(alignment().isRunning());
            EXPECT_FALSE(isSilenced());
            EXPECT_EQ(failure(), interruption.failure);
            loop.runUntilIdle();
            EXPECT_FALSE(isSilenced()) << "nothing of it goes on";
            EXPECT_EQ(room.openCount, 0);
            const auto profile = app->coordinator.currentSyncProfile();
            EXPECT_EQ(app->isPlaying(), interruption.hasSession && world.isPlugged("bluetooth"));
            if (app->isPlaying() && !profile)
                EXPECT_THAT(delays(), ElementsAre(Pair("bluetooth", 0), Pair("builtin", 0)));
            if (app->isPlaying() && profile) EXPECT_EQ(delays(), outputDelays(*profile));
            EXPECT_TRUE(!profile || profile->kind == Kind::manual);
            if (!world.isPlugged("bluetooth")) world.replug("bluetooth");
            app->quit();
            app.reset();
            loop.runUntilIdle();
            defaults.startOver({});
            begin();
        }
    }
    // The program dies: the sound comes back by itself.
    alignment().start();
    loop.advance(1s);
    Application::crash(app);
    EXPECT_FALSE(isSilenced());
    EXPECT_EQ(room.openCount, 0);
    app = std::make_unique<Application>(*this);
    app->launch();
    app->quit();
}

} // namespace
} // namespace velto
