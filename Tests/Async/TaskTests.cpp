#include "VeltoCore/Async/Task.h"

#include "Simulation/RecordingLogSink.h"
#include "Simulation/SimulatedMainActor.h"
#include "VeltoCore/Async/TaskScope.h"

#include <gmock/gmock.h>

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace velto {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

using Trace = std::vector<std::string>;

/// Notes its end.
struct Local {
    std::string name;
    Trace& trace;
    ~Local() { trace.push_back("~" + name); }
};

class TaskTests : public testing::Test {
  protected:
    SimulatedMainActor actor;
    Trace trace;
};

Task<int> fail(Trace& trace) {
    const Local local{"failing", trace};
    throw std::runtime_error("no sound");
    co_return 0;
}

Task<int> passOn(Trace& trace) {
    const Local local{"middle", trace};
    co_return co_await fail(trace) + 1;
}

Task<> catchError(Trace& trace) {
    try {
        co_await passOn(trace);
    } catch (const std::runtime_error& error) {
        trace.push_back(error.what());
    }
}

TEST_F(TaskTests, ThrowsToWhoeverAwaits) {
    TaskScope scope(actor);
    scope.spawn(catchError(trace));
    actor.runReady();
    EXPECT_THAT(trace, ElementsAre("~failing", "~middle", "no sound"));
}

Task<int> descend(int levels) {
    if (levels == 0) co_return 0;
    co_return co_await descend(levels - 1) + 1;
}

Task<int> descendAndFail(int levels) {
    if (levels == 0) throw std::runtime_error("bottom");
    co_return co_await descendAndFail(levels - 1);
}

Task<> useDeepChains(Trace& trace) {
    const int depth = co_await descend(100'000);
    trace.push_back(std::to_string(depth));
    try {
        co_await descendAndFail(10'000);
    } catch (const std::runtime_error& error) {
        trace.push_back(error.what());
    }
    int sum = 0;
    for (int i = 0; i < 1'000'000; ++i)
        sum += co_await descend(1);
    trace.push_back(std::to_string(sum));
}

TEST_F(TaskTests, ChainsOfAnyLengthUseNoStack) {
    TaskScope scope(actor);
    scope.spawn(useDeepChains(trace));
    actor.runReady();
    EXPECT_THAT(trace, ElementsAre("100000", "bottom", "1000000"));
}

Task<> sleepBelow(MainActor& actor, int levels, Trace& trace) {
    const Local local{std::to_string(levels), trace};
    if (levels > 0) {
        co_await sleepBelow(actor, levels - 1, trace);
    } else {
        co_await actor.sleep(1s);
    }
    trace.push_back("woke");
}

TEST_F(TaskTests, EndOfASuspendedChainEndsItsFramesFromTheInnermost) {
    {
        TaskScope scope(actor);
        scope.spawn(sleepBelow(actor, 2, trace));
        actor.runReady();
        EXPECT_EQ(actor.pendingTimers(), 1U);
    }
    EXPECT_THAT(trace, ElementsAre("~0", "~1", "~2"));
    EXPECT_EQ(actor.pendingTimers(), 0U);
    actor.advance(2s);
    EXPECT_EQ(trace.size(), 3U);
}

Task<> note(std::string name, Trace& trace) {
    trace.push_back(name);
    co_return;
}

TEST_F(TaskTests, ScopeEndsItsTasksFromTheLatest) {
    {
        TaskScope scope(actor);
        scope.spawn(sleepBelow(actor, 0, trace));
        scope.spawn(sleepBelow(actor, 1, trace));
        actor.runReady();
        scope.spawn(note("never", trace));
    }
    actor.runUntilIdle();
    EXPECT_THAT(trace, ElementsAre("~0", "~1", "~0"));
}

Task<> failAlone() {
    throw std::runtime_error("no sound");
    co_return;
}

TEST_F(TaskTests, ScopeLogsWhatATaskThrowsAndGoesOn) {
    const RecordingLogSink log;
    TaskScope scope(actor);
    scope.spawn(failAlone());
    scope.spawn(note("next", trace));
    actor.runReady();
    EXPECT_THAT(log.lines(), ElementsAre("Lifecycle fault: A task ended with an error: no sound"));
    EXPECT_THAT(trace, ElementsAre("next"));
}

} // namespace
} // namespace velto
