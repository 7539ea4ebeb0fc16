#include "VeltoCore/Session/SystemAudioManager.h"

#include "Tests/Support/Program.h"
#include "Tests/Support/SessionInvariants.h"

#include <gmock/gmock.h>

#include <chrono>
#include <string>
#include <vector>

namespace velto {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using Operation = CoreAudioOperation;
using Error = AudioManagerError;
using State = AudioSessionState;

/// A program on a machine with the usual outputs: sound goes to the USB interface, alerts to the display.
class SystemAudioManagerTests : public ProgramTest {
  protected:
    SystemAudioManager& session() { return program->session; }
    const State& state() { return session().state(); }
    Started<void> start() { return program->finish(program->start("bluetooth", "builtin")); }
    Started<void> stop() { return program->finish(session().stop()); }
    void expectOutputs(const std::string& defaultOutput, const std::string& alertOutput) {
        EXPECT_EQ(world.defaultOutputUID(), defaultOutput);
        EXPECT_EQ(world.alertOutputUID(), alertOutput);
    }
    /// No session, and all as it was before the first one.
    void expectUntouched() {
        EXPECT_THAT(violations(*program, {.defaultOutputs = {"usb"}, .alertOutputs = {"hdmi"}}), IsEmpty());
    }
};

TEST_F(SystemAudioManagerTests, StartTakesOverBothOutputsAndStopGivesThemBack) {
    std::vector<PreparationStep> steps;
    std::vector<State> states;
    const auto subscription = session().observeState([&] { states.push_back(state()); });
    loop.advance(1h);
    const Date before = loop.now();
    program
        ->finish(program->start("bluetooth", "builtin",
                                [&](PreparationStep step) {
                                    // Nothing is changed before the record of what to go back to is on disk.
                                    EXPECT_EQ(program->store.loadRecoveryState().has_value(), !steps.empty());
                                    steps.push_back(step);
                                }))
        .value();

    EXPECT_THAT(steps, testing::ElementsAreArray(allPreparationSteps));
    EXPECT_THAT(states, ElementsAre(State::Starting{}, state()));
    const auto playing = session().activeSession().value();
    EXPECT_EQ(playing.first.uid, "bluetooth");
    EXPECT_EQ(playing.second.uid, "builtin");
    EXPECT_EQ(playing.masterUID, "builtin");
    EXPECT_EQ(playing.sampleRate, 48000);
    EXPECT_EQ(playing.previousDefaultOutputUID, "usb");
    EXPECT_EQ(playing.startedAt, before);
    EXPECT_EQ(program->store.loadRecoveryState(),
              (RecoveryState{"com.corlent.velto.aggregate", "usb", "hdmi", "bluetooth", "builtin", before}));
    EXPECT_TRUE(session().isSessionHealthy());
    EXPECT_THAT(violations(*program), IsEmpty());
    EXPECT_TRUE(program->devices.device("com.corlent.velto.aggregate")) << "devices are read again";

    states.clear();
    stop().value();
    EXPECT_THAT(states, ElementsAre(State::Stopping{}, State::Idle{}));
    expectUntouched();
}

TEST_F(SystemAudioManagerTests, OwnAggregateIsNeverWhatToGoBackTo) {
    // An earlier run's aggregate still is the default and the alert output.
    world.makeAggregate({.uid = std::string(AggregateDeviceManager::aggregateUID),
                         .name = "Old",
                         .subDevices = {{"usb"}},
                         .mainSubDeviceUID = "usb"});
    world.pickDefault(AggregateDeviceManager::aggregateUID);
    world.pickAlertOutput(AggregateDeviceManager::aggregateUID);

    start().value();
    EXPECT_EQ(session().activeSession()->previousDefaultOutputUID, std::nullopt);
    EXPECT_EQ(program->store.loadRecoveryState()->previousSystemOutputUID, std::nullopt);
    stop().value();
    expectOutputs("builtin", "builtin");
    EXPECT_TRUE(
        log.contains("SystemOutput notice: Previous output unavailable; falling back to Built-in Speakers"));
}

TEST_F(SystemAudioManagerTests, StopTakesAllStepsAndReportsTheFirstFailure) {
    start().value();
    world.calls.failNext(Operation::setDefaultOutputDevice, kAudioHardwareNotReadyError);
    world.calls.failNext(Operation::destroyAggregateDevice, kAudioHardwareUnspecifiedError);
    const auto restore =
        Error::cannotRestoreOutput("Core Audio reported an error: Audio hardware is not ready");
    EXPECT_EQ(stop().error(), restore);
    EXPECT_EQ(state(), State::Failed(restore));
    EXPECT_FALSE(program->store.loadRecoveryState());
    // From `failed`, a stop gives `idle`; a start takes the aggregate that was left out of the way.
    stop().value();
    EXPECT_EQ(state(), State::Idle{});
    start().value();
    world.calls.failNext(Operation::destroyAggregateDevice, {.foreignError = "lost"});
    EXPECT_EQ(stop().error(), Error::aggregateCreationFailed("lost"));
    expectOutputs("builtin", "builtin");
    EXPECT_TRUE(program->finish(session().recoverIfNeeded()).value());
}

TEST_F(SystemAudioManagerTests, StopRespectsWhatOthersHaveDone) {
    start().value();
    world.pickDefault("hdmi");
    stop().value();
    expectOutputs("hdmi", "builtin"); // alerts: where the system falls back to when the aggregate goes
    EXPECT_TRUE(log.contains("SystemOutput notice: Default output was changed externally; skipping restore"));

    start().value();
    world.removeAggregate(AggregateDeviceManager::aggregateUID);
    stop().value();
    EXPECT_TRUE(log.contains("SystemOutput notice: Aggregate was already removed by the system"));

    // A quit no longer listens to the hardware, and yet finds what is there.
    world.pickDefault("usb");
    start().value();
    program->devices.stopObserving();
    world.unplug("usb");
    stop().value();
    expectOutputs("builtin", "builtin");
    program->devices.startObserving();

    start().value();
    for (const std::string& uid : world.pluggedUIDs())
        world.unplug(uid);
    EXPECT_EQ(stop().error(), Error::cannotRestoreOutput("No output device is available."));
    EXPECT_THAT(violations(*program), IsEmpty());
}

TEST_F(SystemAudioManagerTests, ReassertsOnlyItsOwnAggregate) {
    session().reassertDefaultOutput();
    EXPECT_THAT(world.calls.log(), IsEmpty());
    start().value();
    world.pickDefault("bluetooth");
    world.pickAlertOutput("bluetooth");
    EXPECT_FALSE(session().isSessionHealthy());
    session().reassertDefaultOutput();
    EXPECT_TRUE(session().isSessionHealthy());
    EXPECT_THAT(violations(*program), IsEmpty());

    // Another aggregate under our UID is not the session's.
    const auto description = world.aggregates().front().description;
    world.removeAggregate(description.uid);
    world.makeAggregate(description);
    world.calls.clear();
    session().reassertDefaultOutput();
    EXPECT_EQ(world.calls.count(Operation::setDefaultOutputDevice), 0);
    world.pickDefault(description.uid);
    EXPECT_FALSE(session().isSessionHealthy());
    stop().value();
}

} // namespace
} // namespace velto
