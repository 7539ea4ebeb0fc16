// The channel on real sockets: what one client does, or leaves undone, is nothing to another.
#include "Platform/POSIX/LineServer.h"

#include "Platform/Linux/LinuxMainActor.h"
#include "Platform/POSIX/LineConnection.h"
#include "Platform/POSIX/LocalSocket.h"
#include "Tools/SoundLab/OwnedFolder.h"

#include <gmock/gmock.h>

#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace velto {
namespace {

using namespace std::chrono_literals;

/// Answers "size" with the length of the line, "flood" with much, "watch" whenever it is told to, and nothing
/// else at all.
class Parrot final : public LineConversation {
  public:
    Parrot(LineClient& client, std::vector<Parrot*>& all) : client_(client), all_(all) {
        all_.push_back(this);
    }
    ~Parrot() override { std::erase(all_, this); }
    void received(std::string line) override {
        if (line == "silence") return;
        isWatching = line == "watch";
        if (isWatching) return client_.sendLatest("watching");
        client_.send(line == "flood" ? std::string(20'000'000, 'f') : std::to_string(line.size()));
        client_.close();
    }
    void tell(std::string line) { client_.sendLatest(std::move(line)); }
    bool isWatching = false;

  private:
    LineClient& client_;
    std::vector<Parrot*>& all_;
};

class LineServerTests : public testing::Test {
  protected:
    LineServerTests() { server.listen(listener); }
    ~LineServerTests() override { close(listener); }

    LineConnection connect() { return LineConnection::open(path, 20s).value(); }
    /// Lets the loop run meanwhile.
    std::string exchange(LineConnection& client, const std::string& line) {
        EXPECT_TRUE(client.send(line));
        std::optional<std::string> answer;
        EXPECT_TRUE(actor.runUntil(
            [&] {
                answer = client.read(0ms);
                if (answer == "hello") answer.reset();
                return answer.has_value();
            },
            20s));
        return answer.value_or("nothing");
    }
    bool becomesEmpty() {
        return actor.runUntil([&] { return server.clientCount() == 0; }, 20s);
    }

    const OwnedFolder folder{"velto-lines"};
    const std::filesystem::path path = folder.path() / "socket";
    LinuxMainActor actor;
    const int listener = listeningSocket(path);
    std::vector<Parrot*> parrots;
    LineServer server{actor, actor, "hello",
                      [this](LineClient& client) { return std::make_unique<Parrot>(client, parrots); }};
};

TEST_F(LineServerTests, AThousandAtOnceAreAllAnswered) {
    constexpr int count = 1000;
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 3 * count); // both ends are in this process
    setrlimit(RLIMIT_NOFILE, &limit);
    std::atomic<int> answered = 0;
    std::thread crowd([&] {
        std::vector<LineConnection> clients;
        for (int i = 0; i < count; ++i)
            clients.push_back(connect());
        for (LineConnection& client : clients)
            client.send("size");
        for (LineConnection& client : clients)
            if (client.read(20s) == "hello" && client.read(20s) == "4") ++answered;
        actor.post([] {}); // the loop looks once more
    });
    EXPECT_TRUE(actor.runUntil([&] { return answered == count; }, 60s)) << answered;
    crowd.join();
    EXPECT_TRUE(becomesEmpty());
}

TEST_F(LineServerTests, NoneThatMisbehavesIsInTheWayOfOthersOrKeptForLong) {
    std::vector<LineConnection> fools;
    const auto fool = [&] { return fools.emplace_back(connect()), std::ref(fools.back()); };
    fool(); // says nothing
    const int half = connectedSocket(path);
    ASSERT_EQ(sendBytes(half, "half a li", 9), 9);
    const int binary = connectedSocket(path);
    std::string bytes(200'000, '\0');
    sendBytes(binary, bytes.data(), bytes.size());
    const int endless = connectedSocket(path); // a line without an end
    bytes.assign(200'000, 'x');
    sendBytes(endless, bytes.data(), bytes.size());
    fool().get().send("flood"); // and reads nothing
    fools.emplace_back(connect()).send("size");
    fools.pop_back(); // has gone before it is answered
    close(connectedSocket(path));

    LineConnection client = connect();
    EXPECT_EQ(exchange(client, "size"), "4");
    LineConnection longest = connect();
    EXPECT_EQ(exchange(longest, std::string(LineServer::longestLine - 1, 'x')),
              std::to_string(LineServer::longestLine - 1));
    EXPECT_TRUE(becomesEmpty()) << server.clientCount();
    for (const int descriptor : {half, binary, endless})
        close(descriptor);
}

TEST_F(LineServerTests, NeitherSideSpeaksToAnotherUser) {
    if (geteuid() != 0) return; // only root can be somebody else
    const std::filesystem::path squatted = folder.path() / "squatted";
    std::filesystem::permissions(folder.path(), std::filesystem::perms::all);
    std::filesystem::permissions(path, std::filesystem::perms::all);
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    const pid_t stranger = fork();
    if (stranger == 0) {
        if (setuid(65534) != 0) _exit(2);
        const int squatter = listeningSocket(squatted);
        const int intruder = connectedSocket(path);
        char byte = 0;
        while (read(intruder, &byte, 1) < 0 && errno == EAGAIN)
            usleep(1000);
        [[maybe_unused]] const ssize_t told = write(ends[1], byte == 0 ? "refused" : "greeted", 7);
        pause();
        close(squatter);
        _exit(0);
    }
    std::string told(7, ' ');
    actor.watchReadable(ends[0], [&] { EXPECT_EQ(read(ends[0], told.data(), told.size()), 7); });
    EXPECT_TRUE(actor.runUntil([&] { return told == "refused"; }, 20s)) << told;
    actor.unwatch(ends[0]);
    EXPECT_EQ(server.clientCount(), 0U);
    const auto connection = LineConnection::open(squatted, 1s);
    EXPECT_FALSE(connection.has_value());
    if (!connection) EXPECT_EQ(connection.error(), LineConnection::Refusal::anotherUser);
    kill(stranger, SIGKILL);
    waitpid(stranger, nullptr, 0);
    for (const int end : ends)
        close(end);
}

TEST_F(LineServerTests, ThoseWhoWaitForLongLeaveRoomForWhoComes) {
    std::vector<LineConnection> waiting;
    while (waiting.size() < LineServer::mostClients) {
        waiting.push_back(connect());
        waiting.back().send("silence");
    }
    EXPECT_TRUE(actor.runUntil([&] { return server.clientCount() == LineServer::mostClients; }, 20s));
    LineConnection late = connect();
    ASSERT_TRUE(late.send("size"));
    actor.runUntil([] { return false; }, 50ms);
    waiting.pop_back(); // gives up
    EXPECT_EQ(exchange(late, "again"), "4");
}

TEST_F(LineServerTests, WhoWatchesAndLooksAwayIsToldTheLatest) {
    LineConnection watcher = connect();
    EXPECT_EQ(exchange(watcher, "watch"), "watching");
    for (int i = 0; i <= 2000; ++i) {
        parrots.front()->tell(std::to_string(i) + std::string(1000, '.'));
        actor.turnReady();
    }
    int told = 0;
    std::string last;
    EXPECT_TRUE(actor.runUntil(
        [&] {
            while (const auto line = watcher.read(0ms)) {
                ++told;
                last = *line;
            }
            return last.starts_with("2000.");
        },
        20s));
    EXPECT_LT(told, 1500) << "what nobody read in time was not kept";
}

} // namespace
} // namespace velto
