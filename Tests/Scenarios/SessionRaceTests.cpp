// Two things at once, in virtual time: while one operation is under way, another one comes at each of its
// turns.
#include "Tests/Scenarios/SessionStage.h"
#include "Tests/Support/SessionInvariants.h"

#include <gmock/gmock.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace velto {
namespace {

using namespace std::chrono_literals;
using testing::AnyOf;
using testing::IsEmpty;
using State = AudioSessionState;

enum class Ending { playing, idle };

struct Race {
    SweptOperation first;
    SweptOperation second;
    /// How it ends when the second one comes while the first is under way, and when it comes after it.
    Ending duringFirst;
    Ending afterFirst;
};

void PrintTo(const Race& race, std::ostream* stream) { *stream << race.first.name << race.second.name; }

class SessionRaceTests : public testing::TestWithParam<Race> {};

// Ignored while starting or stopping; an abandon or a recovery is waited for.
INSTANTIATE_TEST_SUITE_P(
    , SessionRaceTests,
    testing::Values(
        Race{start, start, Ending::playing, Ending::playing},
        Race{start, stop, Ending::playing, Ending::idle}, Race{start, abandon, Ending::playing, Ending::idle},
        Race{start, recover, Ending::playing, Ending::playing},
        Race{restart, start, Ending::playing, Ending::playing},
        Race{restart, stop, Ending::playing, Ending::idle}, Race{stop, start, Ending::idle, Ending::playing},
        Race{stop, stop, Ending::idle, Ending::idle}, Race{stop, abandon, Ending::idle, Ending::idle},
        Race{stop, recover, Ending::idle, Ending::idle},
        Race{rebuild, start, Ending::playing, Ending::playing},
        Race{rebuild, stop, Ending::playing, Ending::idle},
        Race{rebuild, rebuild, Ending::playing, Ending::playing},
        Race{rebuildAfterRestart, abandon, Ending::playing, Ending::idle},
        Race{abandon, start, Ending::playing, Ending::playing},
        Race{abandon, stop, Ending::idle, Ending::idle}, Race{abandon, abandon, Ending::idle, Ending::idle},
        Race{abandon, recover, Ending::idle, Ending::idle},
        Race{recover, start, Ending::playing, Ending::playing},
        Race{recover, stop, Ending::idle, Ending::idle}, Race{recover, recover, Ending::idle, Ending::idle}),
    [](const auto& info) { return info.param.first.name + "Then" + info.param.second.name; });

/// A slow machine, so that operations have many turns.
void slowDown(SessionStage& stage) {
    stage.machine.world.faults.aliveAfter = 120ms;
    stage.machine.world.faults.lingersAfterDestroy = 250ms;
    stage.machine.world.faults.slowOutputChange = 40ms;
    stage.machine.loop.setBlockingCallDuration(30ms);
}

TEST_P(SessionRaceTests, SecondComesAtEachTurnOfTheFirst) {
    bool isOver = false;
    for (int turns = 1; !isOver; ++turns) {
        SCOPED_TRACE(turns);
        SessionStage stage;
        GetParam().first.prepare(stage);
        slowDown(stage);
        const auto first = stage.program->begin(GetParam().first.run(stage));
        for (int turn = 0; turn < turns; ++turn)
            isOver = !stage.machine.loop.runNextTurn();
        const bool isDuringFirst = !first.isDone();
        const State before = stage.session().state();
        const auto second = stage.program->begin(GetParam().second.run(stage));
        stage.machine.loop.runReady();
        if (before.isBusy()) EXPECT_EQ(stage.session().state(), before) << "nothing changes at all";

        stage.machine.loop.runUntilIdle();
        EXPECT_EQ(first.error(), std::nullopt);
        EXPECT_EQ(second.error(), std::nullopt);
        const Ending ending = isDuringFirst ? GetParam().duringFirst : GetParam().afterFirst;
        EXPECT_EQ(stage.session().state().isActive(), ending == Ending::playing);
        EXPECT_EQ(stage.session().state() == State::Idle{}, ending == Ending::idle);
        EXPECT_THAT(violations(*stage.program), IsEmpty());
    }
}

/// Several requests wait for the same abandon: the first of them counts, the others come while it is at work.
TEST(SessionRace, OnlyTheFirstOfThoseThatWaitedActs) {
    SessionStage stage;
    abandon.prepare(stage);
    slowDown(stage);
    const auto abandoned = stage.program->begin(stage.session().abandonSession());
    stage.machine.loop.advance(100ms);
    std::vector<Started<void>> requests;
    requests.push_back(stage.program->begin(stage.program->start("usb", "builtin")));
    requests.push_back(stage.program->begin(stage.program->start("hdmi", "builtin")));
    requests.push_back(stage.program->begin(stage.session().stop()));
    const auto quit = stage.program->begin(stage.session().operationEnded());
    stage.machine.loop.advance(100ms);
    EXPECT_TRUE(stage.session().isOperationRunning());
    EXPECT_FALSE(requests.front().isDone());

    stage.machine.world.calls.clear();
    stage.machine.loop.runUntilIdle();
    ASSERT_TRUE(stage.session().activeSession());
    EXPECT_EQ(stage.session().activeSession()->first.uid, "usb");
    EXPECT_EQ(stage.machine.world.calls.count(CoreAudioOperation::createAggregateDevice), 1);
    EXPECT_TRUE(quit.isDone());
    EXPECT_THAT(violations(*stage.program), IsEmpty());
}

/// What must wait for everything sees nothing under way when it goes on, though others go on before it.
TEST(SessionRace, QuitWaitsForWhateverRuns) {
    SessionStage stage;
    stage.play();
    slowDown(stage);
    const auto stopped = stage.program->begin(stage.session().stop());
    const auto restarted = stage.program->begin([](SessionStage& stage) -> Task<void> {
        co_await stage.session().operationEnded();
        co_await stage.program->start("usb", "builtin");
    }(stage));
    std::optional<State> seen;
    const auto quit = stage.program->begin([](SessionStage& stage, std::optional<State>& seen) -> Task<void> {
        co_await stage.session().operationEnded();
        seen = stage.session().state();
        co_await stage.session().stop();
    }(stage, seen));
    stage.machine.loop.runUntilIdle();
    EXPECT_TRUE(stopped.isDone() && restarted.isDone() && quit.isDone());
    EXPECT_TRUE(seen && seen->isActive());
    EXPECT_EQ(stage.session().state(), State::Idle{});
    EXPECT_THAT(violations(*stage.program), IsEmpty());
}

TEST(SessionRace, TheWorldChangesWhileTheAggregateIsBeingMade) {
    SessionStage stage;
    auto& world = stage.machine.world;
    slowDown(stage);
    const auto started = stage.program->begin(stage.program->start("bluetooth", "builtin"));
    stage.machine.loop.advance(60ms); // made, not yet alive
    world.unplug("bluetooth");
    world.pickDefault("hdmi"); // too early: the session takes over in a moment
    stage.machine.loop.runUntilIdle();
    started.value();
    EXPECT_FALSE(stage.session().updateDegradedState());
    EXPECT_TRUE(stage.session().state().is<State::Degraded>());
    EXPECT_THAT(violations(*stage.program), IsEmpty());
    world.replugWithAnotherID("bluetooth");
    EXPECT_FALSE(stage.session().updateDegradedState());
    EXPECT_TRUE(stage.session().state().is<State::Active>());

    // Unplugged while the hardware layer still works on the call: the aggregate comes without it.
    stage.program->finish(stage.session().stop()).value();
    const auto again = stage.program->begin(stage.program->start("bluetooth", "builtin"));
    stage.machine.loop.advance(10ms);
    world.unplug("bluetooth");
    stage.machine.loop.runUntilIdle();
    again.value();
    EXPECT_FALSE(world.aggregates().at(0).members.at(0).isActive);
    EXPECT_EQ(stage.session().missingSessionDevices().size(), 1U);
}

/// Listeners that are called in the middle of a call find a session that can be asked anything.
TEST(SessionRace, SynchronousNotificationsMeetNoHalfBuiltSession) {
    for (const SweptOperation& operation : {start, restart, stop, rebuild, abandon, recover}) {
        SCOPED_TRACE(operation.name);
        SessionStage stage;
        operation.prepare(stage);
        stage.machine.world.faults.notifiesSynchronously = true;
        const auto subscription = stage.program->devices.onChange([&] {
            auto& session = stage.session();
            session.updateDegradedState();
            session.reassertDefaultOutput();
            session.missingSessionDevices();
            EXPECT_FALSE(session.isSessionHealthy() && !session.activeSession());
        });
        stage.program->finish(operation.run(stage)).value();
        EXPECT_THAT(violations(*stage.program), IsEmpty());
    }
}

} // namespace
} // namespace velto
