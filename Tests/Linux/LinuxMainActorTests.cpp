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

TEST_F(LinuxMainActorTests, PostedWorkRunsInOrderAndWhatItPostsInALaterTurn) {
    actor.post([&] {
        trace.push_back("first");
        actor.post([&] { trace.push_back("posted by first"); });
    });
    actor.post([&] { trace.push_back("second"); });
    runPosted();
    EXPECT_THAT(trace, ElementsAre("first", "second"));
    runPosted();
    EXPECT_THAT(trace, ElementsAre("first", "second", "posted by first"));
}

TEST_F(LinuxMainActorTests, WorkThatPostsItselfForEverStarvesNobody) {
    Signal signal;
    bool wasTimerRun = false;
    bool wasRead = false;
    std::function<void()> again = [&] { actor.post(again); };
    actor.post(again);
    actor.postAfter(0s, [&] { wasTimerRun = true; });
    actor.watchReadable(signal.descriptor(), [&] {
        signal.take();
        wasRead = true;
    });
    signal.raise();
    EXPECT_TRUE(actor.runUntil([&] { return wasTimerRun && wasRead; }, 10s));
}

TEST_F(LinuxMainActorTests, TimersRunByTimeThenByPostingAndNeverEarly) {
    const ContinuousInstant begin = actor.continuousNow();
    const auto note = [&](const char* name, Duration due) {
        return [this, name, due, begin] {
            trace.push_back(name);
            EXPECT_GE(actor.continuousNow() - begin, due) << name;
        };
    };
    actor.postAfter(6ms, note("late", 6ms));
    actor.postAfter(-1s, note("overdue", 0ms));
    actor.postAfter(0s, note("now", 0ms));
    actor.postAfter(3ms, note("soon", 3ms));
    EXPECT_TRUE(actor.runUntil([&] { return trace.size() == 4; }, 10s));
    EXPECT_THAT(trace, ElementsAre("overdue", "now", "soon", "late"));
}

TEST_F(LinuxMainActorTests, ACancelledTimerNeverRunsEvenWhenItIsDue) {
    MainActor::TimerID second = 0;
    MainActor::TimerID first = 0;
    first = actor.postAfter(0s, [&] {
        trace.push_back("first");
        actor.cancelTimer(first); // itself, too late
        actor.cancelTimer(second);
    });
    second = actor.postAfter(0s, [&] { trace.push_back("second"); });
    actor.postAfter(0s, [&] { trace.push_back("third"); });
    actor.cancelTimer(12345);
    EXPECT_TRUE(actor.runUntil([&] { return trace.size() == 2; }, 10s));
    runPosted();
    EXPECT_THAT(trace, ElementsAre("first", "third"));
}

TEST_F(LinuxMainActorTests, OtherThreadsWakeASleepingLoopAndKeepTheirOrder) {
    constexpr int count = 2000;
    std::array<std::vector<int>, 2> received;
    std::vector<std::jthread> threads;
    const std::thread::id here = std::this_thread::get_id();
    for (std::size_t sender = 0; sender < received.size(); ++sender)
        threads.emplace_back([&, sender] {
            for (int i = 0; i < count; ++i)
                actor.post([&, sender, i] {
                    received[sender].push_back(i);
                    EXPECT_EQ(std::this_thread::get_id(), here);
                });
        });
    EXPECT_TRUE(
        actor.runUntil([&] { return received[0].size() == count && received[1].size() == count; }, 30s));
    for (const auto& numbers : received)
        EXPECT_TRUE(std::ranges::is_sorted(numbers));
}

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

TEST_F(LinuxMainActorTests, APlainFileIsAlwaysReadable) {
    FILE* file = tmpfile();
    ASSERT_NE(file, nullptr);
    bool isRead = false;
    actor.watchReadable(fileno(file), [&] { isRead = true; });
    EXPECT_TRUE(actor.runUntil([&] { return isRead; }, 10s));
    actor.unwatch(fileno(file));
    fclose(file);
}

} // namespace
} // namespace velto
