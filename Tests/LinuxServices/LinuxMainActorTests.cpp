#include "Platform/Linux/LinuxMainActor.h"

#include <gmock/gmock.h>

#include <poll.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace velto {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

/// A pipe that can be made readable.
struct Signal {
    std::array<int, 2> ends{-1, -1};

    Signal() { EXPECT_EQ(pipe(ends.data()), 0); }
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;
    ~Signal() {
        for (const int end : ends)
            close(end);
    }
    int descriptor() const { return ends[0]; }
    void raise() const { EXPECT_EQ(write(ends[1], "x", 1), 1); }
    void take() const {
        char byte = 0;
        EXPECT_EQ(read(ends[0], &byte, 1), 1);
    }
};

class LinuxMainActorTests : public testing::Test {
  protected:
    /// Runs until the work posted so far, and what that led to in the same turn, is done.
    void runPosted() {
        bool isDone = false;
        actor.post([&] { isDone = true; });
        ASSERT_TRUE(actor.runUntil([&] { return isDone; }, 10s));
    }

    LinuxMainActor actor;
    std::vector<std::string> trace;
};

TEST_F(LinuxMainActorTests, CallsTheReaderForAsLongAsThereIsSomethingToRead) {
    Signal signal;
    int calls = 0;
    actor.watchReadable(signal.descriptor(), [&] {
        if (++calls < 3) return; // leaves the byte where it is
        signal.take();
        actor.unwatch(signal.descriptor()); // destroys this very closure
        trace.push_back("after " + std::to_string(calls));
    });
    signal.raise();
    EXPECT_TRUE(actor.runUntil([&] { return !trace.empty(); }, 10s));
    signal.raise();
    runPosted();
    EXPECT_EQ(calls, 3);
    actor.unwatch(signal.descriptor());
}

TEST_F(LinuxMainActorTests, AReaderThatEndsAnotherIsBelievedAtOnce) {
    Signal first, second;
    for (const Signal* signal : {&first, &second}) {
        const Signal* other = signal == &first ? &second : &first;
        actor.watchReadable(signal->descriptor(), [this, signal, other] {
            trace.push_back("read");
            signal->take();
            actor.unwatch(other->descriptor());
        });
        signal->raise();
    }
    EXPECT_TRUE(actor.runUntil([&] { return !trace.empty(); }, 10s));
    runPosted();
    EXPECT_EQ(trace.size(), 1u);
}

TEST_F(LinuxMainActorTests, ADescriptorThatIsUsedAgainDoesNotInheritReadiness) {
    Signal first, second;
    bool isReplaced = false;
    for (const Signal* signal : {&first, &second}) {
        const int other = (signal == &first ? second : first).descriptor();
        actor.watchReadable(signal->descriptor(), [this, &isReplaced, signal, other] {
            if (std::exchange(isReplaced, true)) return;
            signal->take();
            // As if the other had been closed and its number given to a new, silent descriptor.
            char byte = 0;
            EXPECT_EQ(read(other, &byte, 1), 1);
            actor.unwatch(other);
            actor.watchReadable(other, [this] { trace.push_back("called without anything to read"); });
        });
        signal->raise();
    }
    EXPECT_TRUE(actor.runUntil([&] { return isReplaced; }, 10s));
    runPosted();
    EXPECT_THAT(trace, testing::IsEmpty());
}

TEST_F(LinuxMainActorTests, RunsUntilToldToQuitAndCanRunAgain) {
    for (int round = 1; round <= 2; ++round) {
        actor.post([&] {
            actor.quit();
            trace.push_back("still in the turn");
        });
        actor.run();
        EXPECT_EQ(trace.size(), static_cast<std::size_t>(round));
    }
    actor.quit(); // before it runs
    actor.run();
}

TEST_F(LinuxMainActorTests, AnIdleLoopSleeps) {
    Signal silent;
    actor.watchReadable(silent.descriptor(), [&] { silent.take(); });
    actor.postAfter(1h, [] {});
    actor.postAfter(5ms, [] {});
    runPosted();
    int turns = 0;
    EXPECT_FALSE(actor.runUntil([&] { return ++turns < 0; }, 30ms));
    EXPECT_LE(turns, 6) << "the loop turns without anything to do";
}

TEST_F(LinuxMainActorTests, AnotherLoopSeesByTheDescriptorWhenToTurnIt) {
    const auto isReadable = [&](int milliseconds) {
        pollfd watched{actor.descriptor(), POLLIN, 0};
        return poll(&watched, 1, milliseconds) == 1;
    };
    const auto turnUntilQuiet = [&] {
        while (isReadable(0))
            actor.turnReady();
    };
    turnUntilQuiet();
    actor.post([&] {
        trace.push_back("posted");
        actor.turnReady(); // a loop within a turn
        actor.post([&] { trace.push_back("posted in the turn"); });
    });
    turnUntilQuiet();
    EXPECT_THAT(trace, ElementsAre("posted", "posted in the turn"));

    const auto first = actor.postAfter(20ms, [&] { trace.push_back("cancelled"); });
    actor.postAfter(30ms, [&] { trace.push_back("timer"); });
    actor.cancelTimer(first);
    while (trace.size() < 3) {
        ASSERT_TRUE(isReadable(10'000)) << "no alarm for the timer";
        actor.turnReady();
    }
    EXPECT_EQ(trace.back(), "timer");
    turnUntilQuiet();
    EXPECT_FALSE(isReadable(50)) << "the descriptor wakes a loop for nothing";
}

} // namespace
} // namespace velto
