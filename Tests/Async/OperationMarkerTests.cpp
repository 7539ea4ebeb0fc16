#include "VeltoCore/Async/OperationMarker.h"

#include "Simulation/SimulatedMainActor.h"
#include "VeltoCore/Async/TaskScope.h"

#include <gmock/gmock.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace velto {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

enum class Operation { start, stop };
using Marker = OperationMarker<Operation>;
using Trace = std::vector<std::string>;

class OperationMarkerTests : public testing::Test {
  protected:
    SimulatedMainActor actor;
    Marker marker{actor};
    TaskScope scope{actor};
    Trace trace;
};

Task<> run(MainActor& actor, Marker& marker, Operation operation, Trace& trace) {
    const Marker::Mark mark(marker, operation);
    co_await actor.sleep(1s);
    trace.push_back("end");
}

/// Waits until nothing runs; then looks, or takes the marker for a second.
Task<> wait(MainActor& actor, Marker& marker, std::string name, bool takesMarker, Trace& trace) {
    while (marker.running())
        co_await marker.ended();
    trace.push_back(name);
    if (!takesMarker) co_return;
    co_await run(actor, marker, Operation::stop, trace);
}

TEST_F(OperationMarkerTests, WakesWaitersInOrderUntilOneTakesTheMarker) {
    scope.spawn(run(actor, marker, Operation::start, trace));
    scope.spawn(wait(actor, marker, "first", false, trace));
    scope.spawn(wait(actor, marker, "second", true, trace));
    scope.spawn(wait(actor, marker, "third", false, trace));
    scope.spawn(wait(actor, marker, "fourth", true, trace));
    actor.advance(1s);
    EXPECT_THAT(trace, ElementsAre("end", "first", "second"));
    EXPECT_TRUE(marker.isRunning(Operation::stop));
    actor.advance(1s);
    EXPECT_THAT(trace, ElementsAre("end", "first", "second", "end", "third", "fourth"));
    actor.runUntilIdle();
    EXPECT_EQ(marker.running(), std::nullopt);
}

TEST_F(OperationMarkerTests, WaiterThatDiesIsPassedOver) {
    scope.spawn(run(actor, marker, Operation::start, trace));
    actor.runReady();
    auto dying = std::make_unique<TaskScope>(actor);
    dying->spawn(wait(actor, marker, "dead", true, trace));
    scope.spawn(wait(actor, marker, "alive", false, trace));
    actor.runReady();
    dying.reset();
    actor.runUntilIdle();
    EXPECT_THAT(trace, ElementsAre("end", "alive"));
}

TEST_F(OperationMarkerTests, WaiterThatDiesBeforeItsTurnIsPassedOver) {
    auto running = std::make_unique<TaskScope>(actor);
    running->spawn(run(actor, marker, Operation::start, trace));
    auto dying = std::make_unique<TaskScope>(actor);
    dying->spawn(wait(actor, marker, "dead", true, trace));
    scope.spawn(wait(actor, marker, "alive", false, trace));
    actor.runReady();
    running.reset(); // both turns are posted
    dying.reset();
    actor.runUntilIdle();
    EXPECT_THAT(trace, ElementsAre("alive"));
}

TEST_F(OperationMarkerTests, OperationThatIsTornDownWakesItsWaiters) {
    auto dying = std::make_unique<TaskScope>(actor);
    dying->spawn(run(actor, marker, Operation::start, trace));
    scope.spawn(wait(actor, marker, "woken", false, trace));
    actor.runReady();
    dying.reset();
    EXPECT_THAT(trace, IsEmpty());
    actor.runUntilIdle();
    EXPECT_THAT(trace, ElementsAre("woken"));
}

TEST_F(OperationMarkerTests, EndOfTheMarkerEndsItsPostedWork) {
    auto owned = std::make_unique<Marker>(actor);
    auto waiting = std::make_unique<TaskScope>(actor);
    {
        const Marker::Mark mark(*owned, Operation::start);
        waiting->spawn(wait(actor, *owned, "never", false, trace));
        actor.runReady();
    } // the waiter's turn is posted
    waiting.reset();
    owned.reset();
    actor.runUntilIdle();
    EXPECT_THAT(trace, IsEmpty());
}

} // namespace
} // namespace velto
