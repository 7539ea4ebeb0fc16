#include "Simulation/SimulatedMainActor.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <stdexcept>

namespace velto {
namespace {

TEST(SimulatedMainActorTests, EndlessWorkIsReportedNotRun) {
    SimulatedMainActor loop;
    std::function<void()> again = [&] { loop.post(again); };
    loop.post(again);
    EXPECT_THROW(loop.runReady(), std::logic_error);

    SimulatedMainActor other;
    std::function<void()> renewed = [&] { other.postAfter(std::chrono::hours(1), renewed); };
    other.post(renewed);
    EXPECT_THROW(other.runUntilIdle(), std::logic_error);
    other.post([&] { EXPECT_THROW(other.runReady(), std::logic_error) << "from within a turn"; });
    other.runReady();
}

} // namespace
} // namespace velto
