#include "Tests/Support/Program.h"
#include "Tests/Support/SessionInvariants.h"

#include <gmock/gmock.h>

#include <chrono>
#include <string>

namespace velto {
namespace {

using namespace std::chrono_literals;
using testing::IsEmpty;
using Operation = CoreAudioOperation;

/// What one run leaves behind when it dies, and what the next one makes of it.
class RecoveryTests : public ProgramTest {
  protected:
    void crashAndLaunch() {
        Program::crash(program);
        launch();
    }
    void play() { program->finish(program->start("bluetooth", "builtin")).value(); }
    bool recover() { return program->finish(program->session.recoverIfNeeded()).value(); }
    void expectClean(const std::string& defaultOutput, const std::string& alertOutput) {
        EXPECT_THAT(violations(*program, {.defaultOutputs = {defaultOutput}, .alertOutputs = {alertOutput}}),
                    IsEmpty());
        log.clear();
        EXPECT_FALSE(recover()) << "a second recovery has nothing to do";
        EXPECT_THAT(log.lines(), IsEmpty());
    }
};

TEST_F(RecoveryTests, CrashAtAnyMomentOfAStartIsCleanedUp) {
    for (int turns = 0;; ++turns) {
        SCOPED_TRACE(turns);
        world.faults.aliveAfter = 60ms;
        loop.setBlockingCallDuration(20ms);
        const auto started = program->begin(program->start("bluetooth", "builtin"));
        for (int turn = 0; turn < turns; ++turn)
            loop.runNextTurn();
        const bool isDone = started.isDone();
        crashAndLaunch();
        loop.runUntilIdle(); // a call under way when the program died has its effect all the same
        recover();
        expectClean("usb", "hdmi");
        if (isDone) break;
    }
}

TEST_F(RecoveryTests, RecordAloneRestoresOnlyWhatIsOurs) {
    // The aggregate went with the audio service, and the system or the user has moved on.
    play();
    world.removeAggregate(AggregateDeviceManager::aggregateUID);
    world.pickDefault("bluetooth");
    world.pickAlertOutput("bluetooth");
    crashAndLaunch();
    EXPECT_TRUE(recover());
    expectClean("bluetooth", "bluetooth");

    // A record without a previous default output: the fallback.
    world.pickDefault("usb");
    loop.runReady();
    world.calls.failNext(Operation::defaultOutputDeviceID, kAudioHardwareUnspecifiedError);
    play();
    crashAndLaunch();
    EXPECT_TRUE(recover());
    expectClean("builtin", "bluetooth");
}

TEST_F(RecoveryTests, ARecordThatNamesOurAggregateDoesNotBringItBack) {
    play();
    RecoveryState record = program->store.loadRecoveryState().value();
    record.previousDefaultOutputUID = record.aggregateUID;
    program->store.saveRecoveryState(record);
    crashAndLaunch();
    world.calls.failNext(Operation::destroyAggregateDevice, kAudioHardwareNotReadyError);
    EXPECT_TRUE(recover());
    EXPECT_EQ(world.defaultOutputUID(), "builtin");
    EXPECT_TRUE(recover()) << "the aggregate is still there";
    expectClean("builtin", "builtin");
}

TEST_F(RecoveryTests, AggregateWithoutARecordIsRemoved) {
    play();
    program->store.saveRecoveryState(std::nullopt);
    crashAndLaunch();
    world.pickDefault(
        "usb"); // the user's choice since gives way: with an aggregate of ours outputs are restored
    EXPECT_TRUE(recover());
    EXPECT_TRUE(
        log.contains("SystemOutput notice: Recovering from previous session (aggregate present: true, "
                     "state saved: false)"));
    expectClean("builtin", "builtin");
}

} // namespace
} // namespace velto
