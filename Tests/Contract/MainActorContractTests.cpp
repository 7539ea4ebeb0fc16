// What every platform's main actor does.
#include "Tests/Contract/MainActorUnderTest.h"
#include "VeltoCore/Async/TaskScope.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace velto {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

class MainActorContractTests : public testing::Test {
  protected:
    bool runUntil(const std::function<bool()>& condition) { return underTest->runUntil(condition); }
    /// Runs until the work posted so far is done.
    void runPosted() {
        bool isDone = false;
        actor.post([&] { isDone = true; });
        ASSERT_TRUE(runUntil([&] { return isDone; }));
    }
    MainActor::Work note(std::string name) {
        return [this, name = std::move(name)] { trace.push_back(name); };
    }

    /// Once for a value and once for an error.
    Task<void> callTwice() {
        const std::thread::id here = std::this_thread::get_id();
        auto call = [] { return 7; };
        const int value = co_await actor.runBlocking(call);
        EXPECT_EQ(std::this_thread::get_id(), here);
        trace.push_back(std::to_string(value));
        auto failing = []() -> int { throw std::runtime_error("no"); };
        try {
            co_await actor.runBlocking(failing);
        } catch (const std::runtime_error& error) {
            trace.emplace_back(error.what());
        }
        EXPECT_EQ(std::this_thread::get_id(), here);
    }

    Task<void> callAndNote(std::shared_ptr<std::atomic<bool>> isMade) {
        auto call = [isMade] { return isMade->exchange(true); };
        co_await actor.runBlocking(call);
        trace.emplace_back("resumed");
    }

    const std::unique_ptr<MainActorUnderTest> underTest = makeMainActorUnderTest();
    MainActor& actor = underTest->actor();
    std::vector<std::string> trace;
};

TEST_F(MainActorContractTests, PostedWorkRunsInOrderAndWhatItPostsComesAfterIt) {
    actor.post([&] {
        actor.post(note("posted by first"));
        trace.push_back("first");
    });
    actor.post(note("second"));
    EXPECT_TRUE(trace.empty()) << "work never runs within post()";
    ASSERT_TRUE(runUntil([&] { return trace.size() == 3; }));
    EXPECT_THAT(trace, ElementsAre("first", "second", "posted by first"));
}

TEST_F(MainActorContractTests, TimersRunByTimeThenByPostingAndNeverEarly) {
    for (const bool isBusy : {false, true}) {
        trace.clear();
        const ContinuousInstant begin = actor.continuousNow();
        const auto noteDue = [&](const char* name, Duration due) {
            return [this, name, due, begin] {
                trace.push_back(name);
                EXPECT_GE(actor.continuousNow() - begin, due) << name;
            };
        };
        actor.postAfter(6ms, noteDue("late", 6ms));
        actor.postAfter(-1s, noteDue("overdue", 0ms));
        actor.postAfter(0s, noteDue("now", 0ms));
        actor.postAfter(3ms, noteDue("soon", 3ms));
        // Work that posts itself again and again starves nobody.
        std::function<void()> again = [&] {
            if (isBusy && trace.size() < 4) actor.post(again);
        };
        actor.post(again);
        EXPECT_TRUE(runUntil([&] { return trace.size() == 4; }));
        EXPECT_THAT(trace, ElementsAre("overdue", "now", "soon", "late"));
        runPosted();
    }
}

TEST_F(MainActorContractTests, ACancelledTimerNeverRunsEvenWhenItIsDue) {
    MainActor::TimerID second = 0;
    MainActor::TimerID first = 0;
    first = actor.postAfter(0s, [&] {
        trace.push_back("first");
        actor.cancelTimer(first); // itself, too late
        actor.cancelTimer(second);
    });
    second = actor.postAfter(0s, note("second"));
    actor.postAfter(0s, note("third"));
    actor.cancelTimer(12345);
    EXPECT_TRUE(runUntil([&] { return trace.size() == 2; }));
    runPosted();
    EXPECT_THAT(trace, ElementsAre("first", "third"));
}

TEST_F(MainActorContractTests, OtherThreadsWakeASleepingLoopAndKeepTheirOrder) {
    constexpr int count = 2000;
    std::array<std::vector<int>, 2> received;
    std::array<std::thread, 2> threads;
    const std::thread::id here = std::this_thread::get_id();
    for (std::size_t sender = 0; sender < received.size(); ++sender)
        threads[sender] = std::thread([&, sender] {
            for (int i = 0; i < count; ++i)
                actor.post([&, sender, i] {
                    received[sender].push_back(i);
                    EXPECT_EQ(std::this_thread::get_id(), here);
                });
        });
    EXPECT_TRUE(runUntil([&] { return received[0].size() == count && received[1].size() == count; }));
    for (std::thread& thread : threads)
        thread.join();
    for (const auto& numbers : received)
        EXPECT_TRUE(std::ranges::is_sorted(numbers));
}

TEST_F(MainActorContractTests, ABlockingCallYieldsItsValueOrItsErrorOnTheMainActor) {
    TaskScope tasks(actor);
    tasks.spawn(callTwice());
    EXPECT_TRUE(runUntil([&] { return trace.size() == 2; }));
    EXPECT_THAT(trace, ElementsAre("7", "no"));
}

TEST_F(MainActorContractTests, ABlockingCallMayOutliveItsAwaiter) {
    const auto isMade = std::make_shared<std::atomic<bool>>(false);
    auto tasks = std::make_unique<TaskScope>(actor);
    tasks->spawn(callAndNote(isMade));
    actor.post([&] { tasks.reset(); }); // after the start of the call, before its end can be told
    EXPECT_TRUE(runUntil([&] { return *isMade && !tasks; }));
    runPosted();
    EXPECT_TRUE(trace.empty()) << "nobody was there any more";
}

} // namespace
} // namespace velto
