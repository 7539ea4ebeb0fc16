// Every call that an operation makes fails once, one at a time; something happens in the world just before
// each one; another operation comes at each of its turns. Whatever it was, the invariants hold at the next
// quiet point, and a further session works.
#include "Tests/Scenarios/SessionStage.h"
#include "Tests/Support/SessionInvariants.h"

#include <gmock/gmock.h>

#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace velto {
namespace {

using testing::IsEmpty;
using Operation = CoreAudioOperation;

/// The calls that the operation makes when nothing goes wrong.
std::vector<Operation> callsOf(const SweptOperation& operation) {
    SessionStage stage;
    operation.prepare(stage);
    stage.machine.world.calls.clear();
    stage.program->finish(operation.run(stage)).value();
    std::vector<Operation> result;
    for (const auto& call : stage.machine.world.calls.log())
        result.push_back(call.operation);
    return result;
}

/// The reads that every refresh makes of each device, all alike.
bool isReadOfEachDevice(Operation operation) {
    static const std::set<Operation> those{Operation::isHidden,
                                           Operation::outputChannelCount,
                                           Operation::deviceName,
                                           Operation::transportType,
                                           Operation::availableSampleRates,
                                           Operation::deviceManufacturer,
                                           Operation::outputLatencyFrames,
                                           Operation::outputSafetyOffsetFrames,
                                           Operation::supportsOutputVolume};
    return those.contains(operation);
}

/// Reads that decide where to go back to, and the writes that go there: when one fails, an output may end
/// where the system falls back to.
bool decidesWhereToGoBack(Operation operation) {
    static const std::set<Operation> those{Operation::defaultOutputDeviceID,
                                           Operation::defaultSystemOutputDeviceID,
                                           Operation::deviceUID,
                                           Operation::setDefaultOutputDevice,
                                           Operation::setDefaultSystemOutputDevice,
                                           Operation::deviceName,
                                           Operation::outputChannelCount,
                                           Operation::isHidden};
    return those.contains(operation);
}

/// Whether the aggregate may be left when the call fails. A recovery takes one that it can't find for gone;
/// what ends a session knows that there is one.
bool mayLeaveAggregate(const SweptOperation& swept, Operation failed) {
    return failed == Operation::destroyAggregateDevice ||
           (failed == Operation::deviceIDForUID && swept.name == "Recover");
}

InvariantContext contextAfterFailureOf(const SweptOperation& swept, Operation failed) {
    InvariantContext context{.defaultOutputs = swept.defaultOutputs, .alertOutputs = swept.alertOutputs};
    if (decidesWhereToGoBack(failed)) {
        context.defaultOutputs.push_back("builtin");
        context.alertOutputs.push_back("builtin");
    }
    if (mayLeaveAggregate(swept, failed)) {
        context.mayLeaveAggregate = true;
        if (swept.name == "Abandon") context.alertOutputs.emplace_back(ours); // nothing restores them there
    }
    return context;
}

InvariantContext contextAfterRecoveryFrom(const SweptOperation& swept) {
    InvariantContext context{.defaultOutputs = swept.defaultOutputs, .alertOutputs = swept.alertOutputs};
    context.alertOutputs.emplace_back("hdmi"); // a recovery knows where alerts went, an abandon leaves them
    return context;
}

/// What the coordinator does when the audio service answers again.
void lookAfter(SessionStage& stage) {
    if (!stage.session().isSessionHealthy()) stage.program->finish(rebuild.run(stage)); // nothing without one
    EXPECT_EQ(stage.program->finish(stage.session().recoverIfNeeded()).error(), std::nullopt);
}

/// The audio service answers again, whatever it did, and the program is told.
void answerAgain(SessionStage& stage) {
    stage.machine.world.startAudioService();
    stage.machine.world.resumeAudioService();
    stage.program->devices.stopObserving();
    stage.program->devices.startObserving();
    lookAfter(stage);
}

/// After whatever happened, the program still does its work.
void expectWorking(SessionStage& stage) {
    stage.machine.world.faults = {};
    stage.machine.world.calls.forgetFailures();
    if (!stage.session().activeSession()) {
        stage.program->finish(stage.session().recoverIfNeeded());
        EXPECT_THAT(violations(*stage.program), IsEmpty());
        EXPECT_FALSE(stage.program->finish(stage.session().recoverIfNeeded()).value());
    }
    for (const std::string& uid : stage.machine.world.unpluggedUIDs())
        stage.machine.world.replug(uid);
    stage.machine.loop.runUntilIdle();
    stage.program->devices.refresh(); // a device that could not be read was left out
    EXPECT_EQ(stage.program->finish(stage.program->start("usb", "builtin")).error(), std::nullopt);
    EXPECT_THAT(violations(*stage.program), IsEmpty());
    EXPECT_EQ(stage.program->finish(stage.session().stop()).error(), std::nullopt);
    EXPECT_THAT(violations(*stage.program), IsEmpty());
}

class SessionFaultSweepTests : public testing::TestWithParam<SweptOperation> {};

INSTANTIATE_TEST_SUITE_P(, SessionFaultSweepTests,
                         testing::Values(start, restart, stop, rebuild, rebuildAfterRestart, abandon,
                                         recover),
                         [](const auto& info) { return info.param.name; });

TEST_P(SessionFaultSweepTests, EachCallFailsOnce) {
    const std::size_t count = callsOf(GetParam()).size();
    ASSERT_GT(count, 10U);
    for (std::size_t i = 0; i < count; ++i) {
        SessionStage stage;
        GetParam().prepare(stage);
        auto& calls = stage.machine.world.calls;
        calls.clear();
        calls.failCall(i, kAudioHardwareUnspecifiedError);
        const auto outcome = stage.program->finish(GetParam().run(stage));
        const Operation failed = calls.log().at(i).operation;
        SCOPED_TRACE("call " + std::to_string(i) + ", " + std::string(name(failed)));
        EXPECT_TRUE(outcome.isDone());
        const auto* failure = stage.session().state().as<AudioSessionState::Failed>();
        EXPECT_EQ(outcome.error(), failure ? std::optional(failure->error) : std::nullopt);
        EXPECT_THAT(violations(*stage.program, contextAfterFailureOf(GetParam(), failed)), IsEmpty());
        expectWorking(stage);
    }
}

/// What gets no answer is not failed: nothing is lost or left behind once there is an answer.
TEST_P(SessionFaultSweepTests, EachCallGetsNoAnswerOnce) {
    const std::size_t count = callsOf(GetParam()).size();
    for (std::size_t i = 0; i < count; ++i) {
        SessionStage stage;
        GetParam().prepare(stage);
        auto& calls = stage.machine.world.calls;
        calls.clear();
        calls.failCall(i, kAudioHardwareNotRunningError);
        const auto outcome = stage.program->finish(GetParam().run(stage));
        SCOPED_TRACE("call " + std::to_string(i) + ", " + std::string(name(calls.log().at(i).operation)));
        EXPECT_TRUE(outcome.isDone());
        const bool canSay = calls.log().at(i).operation != Operation::isAlive; // that answers false
        if (outcome.error() && canSay) EXPECT_TRUE(outcome.error()->isNoAnswer());
        lookAfter(stage);
        EXPECT_THAT(violations(*stage.program, contextAfterRecoveryFrom(GetParam())), IsEmpty());
        expectWorking(stage);
    }
}

TEST_P(SessionFaultSweepTests, TheServiceHangsBeforeEachCall) {
    const std::size_t count = callsOf(GetParam()).size();
    for (const bool obeysLate : {false, true}) {
        for (std::size_t i = 0; i < count; ++i) {
            SCOPED_TRACE("call " + std::to_string(i) + (obeysLate ? ", obeyed late" : ""));
            SessionStage stage;
            GetParam().prepare(stage);
            auto& world = stage.machine.world;
            world.faults.obeysLate = obeysLate;
            world.calls.atCall(i, [&] { world.hangAudioService(); });
            const auto outcome = stage.program->finish(GetParam().run(stage));
            EXPECT_TRUE(outcome.isDone());
            if (outcome.error()) EXPECT_TRUE(outcome.error()->isNoAnswer());
            // Asked again, it is refused, and nothing that is known of before is thrown away.
            const auto record = stage.program->store.loadRecoveryState();
            if (record && !stage.session().activeSession()) {
                EXPECT_TRUE(
                    stage.program->finish(stage.program->start("usb", "builtin")).error()->isNoAnswer());
                EXPECT_TRUE(stage.program->finish(stage.session().recoverIfNeeded()).error()->isNoAnswer());
                EXPECT_EQ(stage.program->store.loadRecoveryState(), record);
            }
            answerAgain(stage);
            EXPECT_THAT(violations(*stage.program, contextAfterRecoveryFrom(GetParam())), IsEmpty());
            expectWorking(stage);
        }
    }
}

TEST_P(SessionFaultSweepTests, AnOperationOfTheHardwareNeverWorks) {
    for (std::size_t i = 0; i < coreAudioOperationCount; ++i) {
        const auto failing = static_cast<Operation>(i);
        SCOPED_TRACE(name(failing));
        SessionStage stage;
        GetParam().prepare(stage);
        stage.machine.world.calls.failAlways(failing, kAudioHardwareUnspecifiedError);
        EXPECT_TRUE(stage.program->finish(GetParam().run(stage)).isDone());
        EXPECT_THAT(violations(*stage.program, contextAfterFailureOf(GetParam(), failing)), IsEmpty());
        expectWorking(stage);
    }
}

/// A failure while a failure is being undone.
TEST_P(SessionFaultSweepTests, ASecondCallFailsAfterAFailedSwitch) {
    for (const auto first : {Operation::setDefaultOutputDevice, Operation::setDefaultSystemOutputDevice,
                             Operation::createAggregateDevice, Operation::destroyAggregateDevice}) {
        for (std::size_t i = 0;; ++i) {
            SessionStage stage;
            GetParam().prepare(stage);
            auto& calls = stage.machine.world.calls;
            calls.clear();
            calls.failNext(first, kAudioHardwareUnspecifiedError);
            calls.failCall(i, kAudioHardwareNotReadyError);
            EXPECT_TRUE(stage.program->finish(GetParam().run(stage)).isDone());
            if (calls.total() <= i) break;
            if (isReadOfEachDevice(calls.log()[i].operation)) continue;
            SCOPED_TRACE(std::string(name(first)) + " and call " + std::to_string(i) + ", " +
                         std::string(name(calls.log().at(i).operation)));
            InvariantContext context = contextAfterFailureOf(GetParam(), Operation::setDefaultOutputDevice);
            context.mayLeaveAggregate = mayLeaveAggregate(GetParam(), first) ||
                                        mayLeaveAggregate(GetParam(), calls.log().at(i).operation);
            if (context.mayLeaveAggregate) { // and what was not restored stays on it
                context.defaultOutputs.emplace_back(ours);
                context.alertOutputs.emplace_back(ours);
            }
            EXPECT_THAT(violations(*stage.program, context), IsEmpty());
            expectWorking(stage);
        }
    }
}

TEST_P(SessionFaultSweepTests, SomethingHappensBeforeEachCall) {
    using Event = std::function<void(SimulatedAudioSystem&)>;
    const std::vector<std::pair<std::string, Event>> events{
        {"first unplugged", [](auto& world) { world.unplug("bluetooth"); }},
        {"second unplugged", [](auto& world) { world.unplug("builtin"); }},
        {"previous unplugged", [](auto& world) { world.unplug("usb"); }},
        {"all unplugged",
         [](auto& world) {
             for (const std::string& uid : world.pluggedUIDs())
                 world.unplug(uid);
         }},
        {"replugged",
         [](auto& world) {
             world.unplug("builtin");
             world.replugWithAnotherID("builtin");
         }},
        {"another output picked", [](auto& world) { world.pickDefault("hdmi"); }},
        {"aggregate removed",
         [](auto& world) {
             if (world.objectID(ours)) world.removeAggregate(ours);
         }},
        {"audio service restarted", [](auto& world) { world.restartAudioService(); }},
        {"audio service stopped", [](auto& world) { world.stopAudioService(); }},
    };
    const auto undisturbed = callsOf(GetParam());
    for (const auto& [what, event] : events) {
        for (std::size_t i = 0; i < undisturbed.size(); ++i) {
            if (isReadOfEachDevice(undisturbed[i])) continue;
            SCOPED_TRACE(what + " before call " + std::to_string(i));
            SessionStage stage;
            GetParam().prepare(stage);
            auto& world = stage.machine.world;
            world.calls.atCall(i, [&] { event(world); });
            EXPECT_TRUE(stage.program->finish(GetParam().run(stage)).isDone());
            if (what.starts_with("audio service")) answerAgain(stage);
            EXPECT_THAT(violations(*stage.program, {.mayHaveLostSession = true}), IsEmpty());
            expectWorking(stage);
        }
    }
}

} // namespace
} // namespace velto
