#include "Platform/macOS/DispatchFileDescriptorWatcher.h"
#include "Platform/macOS/DispatchMainActor.h"
#include "Platform/macOS/DispatchTerminationSignals.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <csignal>
#include <memory>
#include <string>

#include <sys/socket.h>
#include <unistd.h>

namespace velto {
namespace {

using namespace std::chrono_literals;

TEST(DispatchTests, SignalsAreToldOnTheMainQueueAndNoMoreAfterwards) {
    DispatchMainActor actor;
    int told = 0;
    auto signals = std::make_unique<DispatchTerminationSignals>([&] { ++told; });
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        const int before = told;
        // The system begins to listen in a thread of its own, and until then they are ignored.
        for (int attempt = 0; attempt < 300 && told == before; ++attempt) {
            kill(getpid(), signal);
            actor.runUntil([&] { return told > before; }, 100ms);
        }
        EXPECT_GT(told, before) << signal;
    }
    signals.reset();
    const int before = told;
    kill(getpid(), SIGTERM);
    bool isOver = false;
    actor.postAfter(50ms, [&] { isOver = true; });
    EXPECT_TRUE(actor.runUntil([&] { return isOver; }, 30s));
    EXPECT_EQ(told, before);
}

/// As the line server uses it: closed at once, and the same number used again.
TEST(DispatchTests, DescriptorsAreWatchedUntilTheyAreNotAndAnotherOneOfTheNumberIsAnotherOne) {
    DispatchMainActor actor;
    DispatchFileDescriptorWatcher watcher;
    for (int round = 0; round < 100; ++round) {
        std::array<int, 2> ends{};
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
        std::string heard;
        int writable = 0;
        watcher.watchWritable(ends[0], [&] { ++writable; });
        watcher.watchReadable(ends[0], [&] {
            std::array<char, 8> bytes{};
            const ssize_t count = read(ends[0], bytes.data(), bytes.size());
            heard.append(bytes.data(), static_cast<std::size_t>(count));
            watcher.unwatch(ends[0]); // from within
            close(ends[0]);
        });
        ASSERT_EQ(write(ends[1], "round", 5), 5);
        ASSERT_TRUE(actor.runUntil([&] { return !heard.empty(); }, 30s));
        EXPECT_EQ(heard, "round");
        EXPECT_LE(writable, 1) << "it is told once";
        close(ends[1]);
    }
}

} // namespace
} // namespace velto
