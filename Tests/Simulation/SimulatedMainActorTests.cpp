#include "Simulation/SimulatedMainActor.h"

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
using testing::IsEmpty;

class SimulatedMainActorTests : public testing::Test {
  protected:
    MainActor::Work note(std::string text) {
        return [this, text = std::move(text)] { trace.push_back(text); };
    }

    SimulatedMainActor loop;
    std::vector<std::string> trace;
};

TEST_F(SimulatedMainActorTests, AdvanceStopsExactlyWhereAsked) {
    loop.postAfter(10ms, [this] {
        EXPECT_EQ(loop.continuousNow(), 10ms);
        loop.postAfter(10ms, note("at 20"));
        loop.postAfter(11ms, note("at 21"));
    });
    loop.advance(20ms);
    EXPECT_THAT(trace, ElementsAre("at 20"));
    loop.advance(500us);
    EXPECT_EQ(loop.continuousNow(), 20500us);
    EXPECT_EQ(loop.pendingTimers(), 1U);
    EXPECT_TRUE(loop.runNextTurn());
    EXPECT_EQ(loop.continuousNow(), 21ms);
    EXPECT_FALSE(loop.runNextTurn());
}

TEST_F(SimulatedMainActorTests, ClocksMoveTogetherAndApart) {
    const Date start = loop.now();
    loop.advance(90s);
    EXPECT_EQ(loop.now().timeIntervalSince(start), 90);
    loop.setWallClock(start);
    EXPECT_EQ(loop.now(), start);
    EXPECT_EQ(loop.continuousNow(), 90s);
    loop.postAfter(1h, note("due while asleep"));
    loop.postAfter(3h, note("due later"));
    loop.sleepMachine(2h);
    EXPECT_THAT(trace, IsEmpty());
    EXPECT_EQ(loop.now().timeIntervalSince(start), 7200);
    loop.runReady();
    EXPECT_THAT(trace, ElementsAre("due while asleep"));
}

TEST_F(SimulatedMainActorTests, EndlessWorkIsReportedNotRun) {
    std::function<void()> again = [&] { loop.post(again); };
    loop.post(again);
    EXPECT_THROW(loop.runReady(), std::logic_error);

    SimulatedMainActor other;
    std::function<void()> renewed = [&] { other.postAfter(1h, renewed); };
    other.post(renewed);
    EXPECT_THROW(other.runUntilIdle(), std::logic_error);
    other.post([&] { EXPECT_THROW(other.runReady(), std::logic_error) << "from within a turn"; });
    other.runReady();
}

} // namespace
} // namespace velto
