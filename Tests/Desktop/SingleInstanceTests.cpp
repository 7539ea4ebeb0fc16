#include "Platform/Linux/SingleInstance.h"

#include "Platform/Linux/LinuxMainActor.h"
#include "Tests/Desktop/ForkedProcess.h"
#include "Tools/SoundLab/OwnedFolder.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>

namespace velto {
namespace {

using namespace std::chrono_literals;

class SingleInstanceTests : public testing::Test {
  protected:
    /// Starts the program again, in a process of its own; it answers 0 when the first has seen it.
    ForkedProcess startAgain() {
        return ForkedProcess([this](const auto&) {
            const SingleInstance later(folder.path());
            if (later.isFirst()) return 2;
            return later.raiseFirst(20s) ? 0 : 1;
        });
    }
    void listen() {
        first->observeRaise(actor, [this] { ++raised; });
    }

    const OwnedFolder folder{"velto-instance"};
    LinuxMainActor actor;
    std::optional<SingleInstance> first{folder.path()};
    int raised = 0;
};

TEST_F(SingleInstanceTests, EveryLaterStartRaisesTheFirst) {
    ASSERT_TRUE(first->isFirst());
    ForkedProcess early = startAgain(); // it may come before the first one listens
    listen();
    EXPECT_TRUE(actor.runUntil([&] { return raised == 1; }, 20s));
    EXPECT_EQ(early.wait(), 0);
    ForkedProcess late = startAgain();
    EXPECT_TRUE(actor.runUntil([&] { return raised == 2; }, 20s));
    EXPECT_EQ(late.wait(), 0);

    first.reset();
    EXPECT_TRUE(std::filesystem::is_empty(folder.path() / "com.corlent.velto.lock"));
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "com.corlent.velto.socket"));
    EXPECT_TRUE(SingleInstance(folder.path()).isFirst());
}

TEST_F(SingleInstanceTests, AFirstThatWasKilledIsSucceeded) {
    first.reset();
    ForkedProcess killed([this](const auto& tellReady) {
        const SingleInstance instance(folder.path());
        if (!instance.isFirst()) return 1;
        tellReady();
        pause();
        return 1;
    });
    ASSERT_TRUE(killed.waitUntilReady());
    EXPECT_FALSE(SingleInstance(folder.path()).isFirst());
    killed.signal(SIGKILL);
    killed.wait();
    ASSERT_TRUE(std::filesystem::exists(folder.path() / "com.corlent.velto.socket")) << "nothing is stale";

    first.emplace(folder.path());
    ASSERT_TRUE(first->isFirst());
    listen();
    ForkedProcess later = startAgain();
    EXPECT_TRUE(actor.runUntil([&] { return raised == 1; }, 20s));
    EXPECT_EQ(later.wait(), 0);
}

TEST_F(SingleInstanceTests, AFirstThatHangsHoldsUpNobodyHoweverManyTry) {
    const SingleInstance later(folder.path());
    ForkedProcess user([&](const auto&) {
        for (int start = 0; start < 20; ++start) // more than may wait for being let in
            if (later.raiseFirst(10ms)) return 1;
        return 0;
    });
    EXPECT_EQ(user.wait(), 0);
}

TEST_F(SingleInstanceTests, AFolderThatCannotBeUsedIsSaidInOneSentenceAndNothingStaysLocked) {
    const std::filesystem::path deep = folder.path() / std::string(120, 'd');
    std::filesystem::create_directory(deep);
    const auto failure = [](const std::filesystem::path& path) -> std::string {
        try {
            const SingleInstance instance(path);
        } catch (const std::system_error& error) {
            return error.what();
        }
        return "";
    };
    EXPECT_EQ(failure(deep), "The socket for a second start could not be made: File name too long");
    const int lock = open((deep / "com.corlent.velto.lock").c_str(), O_RDWR | O_CLOEXEC);
    EXPECT_EQ(flock(lock, LOCK_EX | LOCK_NB), 0);
    close(lock);
    EXPECT_EQ(failure(folder.path() / "missing"),
              "The lock of the running program could not be made: No such file or directory");
}

} // namespace
} // namespace velto
