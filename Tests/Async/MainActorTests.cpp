#include "VeltoCore/Async/MainActor.h"

#include "Simulation/SimulatedMainActor.h"
#include "VeltoCore/Async/TaskScope.h"

#include <gmock/gmock.h>

#include <chrono>
#include <string>
#include <vector>

namespace velto {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

using Trace = std::vector<std::string>;

class MainActorTests : public testing::Test {
  protected:
    SimulatedMainActor actor;
    TaskScope scope{actor};
    Trace trace;
};

/// Sleeps once and notes how and when it ended.
Task<> sleep(MainActor& actor, Duration interval, CancellationToken token, Trace& trace) {
    const SleepResult result = co_await actor.sleep(interval, token);
    const auto now = std::chrono::duration_cast<std::chrono::milliseconds>(actor.continuousNow());
    trace.push_back((result == SleepResult::elapsed ? "elapsed " : "cancelled ") +
                    std::to_string(now.count()));
}

TEST_F(MainActorTests, CancelledSleepEndsEarlyInATurnOfItsOwn) {
    CancellationSource source;
    scope.spawn(sleep(actor, 10s, source.token(), trace));
    actor.advance(500ms);
    source.cancel();
    source.cancel();
    EXPECT_THAT(trace, IsEmpty()) << "the one who cancels must not run the sleeper";
    actor.runReady();
    EXPECT_THAT(trace, ElementsAre("cancelled 500"));

    scope.spawn(sleep(actor, 10s, source.token(), trace)); // cancelled before it begins
    actor.runReady();
    EXPECT_THAT(trace, ElementsAre("cancelled 500", "cancelled 500"));
    EXPECT_EQ(actor.pendingTimers(), 0U);
}

TEST_F(MainActorTests, CancellingReachesNobodyWhoHasEnded) {
    for (const bool isCancelledFirst : {false, true}) {
        CancellationSource source;
        {
            TaskScope shortLived(actor);
            shortLived.spawn(sleep(actor, 1s, source.token(), trace));
            actor.runReady();
            if (isCancelledFirst) source.cancel();
        }
        source.cancel();
        actor.runUntilIdle();
        EXPECT_THAT(trace, IsEmpty());
        EXPECT_EQ(actor.pendingTimers(), 0U);
    }
}

} // namespace
} // namespace velto
