#include "Platform/POSIX/SingleInstance.h"

#include "Platform/Linux/InstanceLocks.h"
#include "Platform/Linux/LinuxMainActor.h"
#include "Platform/POSIX/LineConnection.h"
#include "Platform/POSIX/LineServer.h"
#include "Tests/Desktop/ForkedProcess.h"
#include "Tools/SoundLab/OwnedFolder.h"

#include <gmock/gmock.h>

#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>

namespace velto {
namespace {

using namespace std::chrono_literals;

/// Finds the first one and tells it something; whether it has answered.
bool tellFirst(const std::filesystem::path& settings,
               const std::optional<std::filesystem::path>& runtimeFolder,
               std::chrono::milliseconds patience = 20s) {
    for (const auto& socket : SingleInstance::socketsOfFirst(InstanceLocks::of(settings, runtimeFolder))) {
        auto first = LineConnection::open(socket, patience);
        if (first)
            return first->read(patience) == "hello" && first->send("raise") &&
                   first->read(patience) == "raised";
    }
    return false;
}

class SingleInstanceTests : public testing::Test {
  protected:
    class Conversation final : public LineConversation {
      public:
        Conversation(LineClient& client, int& raised) : client_(client), raised_(raised) {}
        void received(std::string) override {
            ++raised_;
            client_.send("raised");
            client_.close();
        }

      private:
        LineClient& client_;
        int& raised_;
    };

    /// Starts the program again, in a process of its own; it answers 0 when the first has seen it.
    ForkedProcess startAgain() {
        return ForkedProcess([this](const auto&) {
            if (SingleInstance(InstanceLocks::of(settings, folder.path())).isFirst()) return 2;
            return tellFirst(settings, folder.path()) ? 0 : 1;
        });
    }
    void listen() { server.listen(first->listener()); }

    const OwnedFolder folder{"velto-instance"};
    const std::filesystem::path settings = folder.path() / "config" / "defaults.json";
    LinuxMainActor actor;
    std::optional<SingleInstance> first{std::in_place, InstanceLocks::of(settings, folder.path())};
    int raised = 0;
    LineServer server{actor, actor, "hello",
                      [this](LineClient& client) { return std::make_unique<Conversation>(client, raised); }};
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

    actor.unwatch(first->listener());
    first.reset();
    EXPECT_TRUE(std::filesystem::is_empty(folder.path() / "com.corlent.velto.lock"));
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "com.corlent.velto.socket"));
    EXPECT_TRUE(SingleInstance(InstanceLocks::of(settings, folder.path())).isFirst());
}

TEST_F(SingleInstanceTests, AFirstThatWasKilledIsSucceeded) {
    first.reset();
    ForkedProcess killed([this](const auto& tellReady) {
        const SingleInstance instance(InstanceLocks::of(settings, folder.path()));
        if (!instance.isFirst()) return 1;
        tellReady();
        pause();
        return 1;
    });
    ASSERT_TRUE(killed.waitUntilReady());
    EXPECT_FALSE(SingleInstance(InstanceLocks::of(settings, folder.path())).isFirst());
    killed.signal(SIGKILL);
    killed.wait();
    ASSERT_TRUE(std::filesystem::exists(folder.path() / "com.corlent.velto.socket")) << "nothing is stale";

    first.emplace(InstanceLocks::of(settings, folder.path()));
    ASSERT_TRUE(first->isFirst());
    listen();
    ForkedProcess later = startAgain();
    EXPECT_TRUE(actor.runUntil([&] { return raised == 1; }, 20s));
    EXPECT_EQ(later.wait(), 0);
}

TEST_F(SingleInstanceTests, AFirstThatHangsHoldsUpNobodyHoweverManyTry) {
    ForkedProcess user([&](const auto&) {
        for (int start = 0; start < 20; ++start)
            if (tellFirst(settings, folder.path(), 10ms)) return 1;
        return 0;
    });
    EXPECT_EQ(user.wait(), 0);
}

TEST_F(SingleInstanceTests, EitherLockTellsWhateverTheOtherProgramWasGiven) {
    const std::filesystem::path otherSettings = folder.path() / "other" / "defaults.json";
    listen();
    ForkedProcess user([&](const auto&) {
        const SingleInstance withoutRuntimeFolder(InstanceLocks::of(settings, std::nullopt));
        if (withoutRuntimeFolder.isFirst() || !tellFirst(settings, std::nullopt)) return 1;
        const SingleInstance otherRuntimeFolder(InstanceLocks::of(settings, folder.path() / "missing"));
        if (otherRuntimeFolder.isFirst() || !tellFirst(settings, folder.path() / "missing")) return 2;
        const SingleInstance sameSession(InstanceLocks::of(otherSettings, folder.path()));
        if (sameSession.isFirst() || !tellFirst(otherSettings, folder.path())) return 3;
        return SingleInstance(InstanceLocks::of(otherSettings, std::nullopt)).isFirst() ? 0 : 4;
    });
    EXPECT_TRUE(actor.runUntil([&] { return raised == 3; }, 20s));
    EXPECT_EQ(user.wait(), 0);
}

TEST_F(SingleInstanceTests, APlaceThatCannotBeUsedKeepsNoProgramFromStarting) {
    first.reset();
    const std::filesystem::path deep = folder.path() / std::string(120, 'd');
    const std::filesystem::path blocked = folder.path() / "blocked";
    std::filesystem::create_directory(blocked);
    // As those of another user: they can be neither opened nor replaced.
    std::filesystem::create_directories(blocked / "com.corlent.velto.lock" / "inner");
    std::filesystem::create_directories(blocked / "com.corlent.velto.socket" / "inner");
    const auto troubles = [](const auto& file, const std::optional<std::filesystem::path>& runtime) {
        const SingleInstance instance(InstanceLocks::of(file, runtime));
        EXPECT_TRUE(instance.isFirst());
        return instance.troubles();
    };
    EXPECT_THAT(troubles(settings, std::nullopt), testing::IsEmpty());
    EXPECT_THAT(troubles(deep / "defaults.json", folder.path()), testing::IsEmpty())
        << "the other place will do";
    EXPECT_THAT(troubles(settings, blocked), testing::ElementsAre(testing::EndsWith(": Is a directory")));
    EXPECT_THAT(troubles(settings, folder.path() / "missing"),
                testing::ElementsAre(testing::EndsWith(": No such file or directory")));
    EXPECT_THAT(troubles(deep / "defaults.json", std::nullopt),
                testing::ElementsAre(testing::EndsWith(": File name too long")));
    EXPECT_THAT(troubles("/dev/null/defaults.json", std::nullopt),
                testing::ElementsAre(testing::EndsWith(": Not a directory")));
    // Whatever was in the way, the settings are locked, and a second start finds the first.
    first.emplace(InstanceLocks::of(settings, blocked));
    listen();
    ForkedProcess later = startAgain();
    EXPECT_TRUE(actor.runUntil([&] { return raised == 1; }, 20s));
    EXPECT_EQ(later.wait(), 0);
}

} // namespace
} // namespace velto
