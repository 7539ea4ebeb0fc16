#include "VeltoCore/Async/Backoff.h"

#include "Simulation/SimulatedMainActor.h"

#include <gmock/gmock.h>

#include <chrono>
#include <optional>
#include <vector>

namespace velto {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class BackoffTests : public testing::Test {
  protected:
    /// All is asked in vain until somebody says that it is settled.
    void begin(Backoff::Pauses pauses) {
        backoff.emplace(actor, pauses, [this] {
            askedAt.push_back(std::chrono::duration_cast<std::chrono::milliseconds>(actor.continuousNow()));
            if (isInVain) backoff->askLater();
        });
        backoff->askLater();
    }

    SimulatedMainActor actor;
    std::optional<Backoff> backoff;
    std::vector<std::chrono::milliseconds> askedAt;
    bool isInVain = true;
};

TEST_F(BackoffTests, PausesDoubleUpToTheLongestWhichComesAgainAndAgain) {
    begin({.first = 50ms, .longest = 120ms});
    EXPECT_THAT(askedAt, IsEmpty());
    actor.advance(400ms);
    EXPECT_THAT(askedAt, ElementsAre(50ms, 150ms, 270ms, 390ms));
}

TEST_F(BackoffTests, MayAskAtOnceFirstAndGiveUp) {
    begin({.first = 50ms, .longest = 200ms, .isAtOnceFirst = true, .endsAfterLongest = true});
    EXPECT_THAT(askedAt, IsEmpty()) << "never from within the call";
    actor.advance(1h);
    EXPECT_THAT(askedAt, ElementsAre(0ms, 50ms, 150ms, 350ms));
    backoff->askLater();
    EXPECT_EQ(actor.pendingTimers(), 0u);
    EXPECT_TRUE(backoff->isUnsettled());
    backoff->reset();
    askedAt.clear();
    backoff->askLater();
    actor.advance(60ms);
    EXPECT_EQ(askedAt.size(), 2u) << "it is asked as at the first time";
}

TEST_F(BackoffTests, WhatIsSettledIsNotAskedAgainAndBeginsAnew) {
    begin({.first = 50ms, .longest = 10s});
    actor.advance(160ms);
    backoff->askLater(); // a pause lasts: it is not made longer
    backoff->reset();
    EXPECT_FALSE(backoff->isUnsettled());
    EXPECT_EQ(actor.pendingTimers(), 0u);
    backoff->askLater();
    isInVain = false;
    actor.advance(1h);
    EXPECT_THAT(askedAt, ElementsAre(50ms, 150ms, 210ms));
    backoff->askLater();
    backoff.reset();
    EXPECT_EQ(actor.pendingTimers(), 0u) << "nobody is there any more to ask";
}

TEST_F(BackoffTests, WhoWaitsWithoutTurningTheLoopAsksWhenItIsDue) {
    begin({.first = 50ms, .longest = 10s});
    backoff->askIfDue();
    EXPECT_THAT(askedAt, IsEmpty());
    actor.sleepMachine(60ms); // the loop does not turn
    backoff->askIfDue();
    EXPECT_THAT(askedAt, ElementsAre(60ms));
    isInVain = false;
    actor.advance(100ms);
    EXPECT_THAT(askedAt, ElementsAre(60ms, 160ms)) << "once for each pause";
    backoff->askIfDue();
    EXPECT_EQ(askedAt.size(), 2u) << "no pause lasts";
}

} // namespace
} // namespace velto
