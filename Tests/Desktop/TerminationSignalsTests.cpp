#include "Platform/Linux/TerminationSignals.h"

#include "Platform/Linux/LinuxMainActor.h"
#include "Tests/Desktop/ForkedProcess.h"

#include <gmock/gmock.h>

#include <signal.h>

#include <chrono>

namespace velto {
namespace {

constexpr int endedByHandler = 42;

/// Ends with that status once its handler was called.
int runUntilTerminated(const std::function<void()>& tellReady) {
    LinuxMainActor actor;
    TerminationSignals signals;
    bool isToEnd = false;
    tellReady();
    signals.observe(actor, [&] { isToEnd = true; });
    return actor.runUntil([&] { return isToEnd; }, std::chrono::seconds(20)) ? endedByHandler : 1;
}

TEST(TerminationSignals, EndAProgramThroughItsHandlerWheneverTheyCome) {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        ForkedProcess program(runUntilTerminated);
        ASSERT_TRUE(program.waitUntilReady());
        program.signal(signal); // before or after the handler is there
        EXPECT_EQ(program.wait(), endedByHandler) << strsignal(signal);
    }
}

TEST(TerminationSignals, ThoseThatCameBeforeAreNotLostAndEachIsToldOfOnce) {
    ForkedProcess program([](const auto&) {
        LinuxMainActor actor;
        TerminationSignals signals;
        raise(SIGTERM);
        raise(SIGINT);
        int count = 0;
        signals.observe(actor, [&] { ++count; });
        actor.runUntil([&] { return count >= 2; }, std::chrono::seconds(20));
        int turns = 0;
        actor.runUntil([&] { return ++turns < 0; }, std::chrono::milliseconds(20));
        return turns < 6 ? count : 100 + turns; // the loop is quiet afterwards
    });
    EXPECT_EQ(program.wait(), 2);
}

} // namespace
} // namespace velto
