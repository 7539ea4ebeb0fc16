#include "Platform/Linux/LogindSleepMonitor.h"

#include "Platform/Linux/LinuxMainActor.h"
#include "Simulation/RecordingLogSink.h"
#include "Tools/SoundLab/PrivateBus.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>

#include <gmock/gmock.h>

#include <unistd.h>

#include <array>
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velto {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class LogindSleepMonitorTests : public testing::Test {
  protected:
    LogindSleepMonitorTests() { EXPECT_TRUE(loginManager.registerService("org.freedesktop.login1")); }
    ~LogindSleepMonitorTests() override { QDBusConnection::disconnectFromBus(connectionName); }

    void observe(const std::string& name) {
        monitor.observe({.willSleep = [this, name] { trace.push_back(name + " sleeps"); },
                         .didWake = [this, name] { trace.push_back(name + " wakes"); }});
        settle();
    }
    /// The bus has handled all that it was sent.
    void settle() {
        for (int round = 0; round < 2; ++round)
            loginManager.interface()->isServiceRegistered("nobody.at.all");
    }
    void announce(bool isFallingAsleep) {
        QDBusMessage signal = QDBusMessage::createSignal("/org/freedesktop/login1",
                                                         "org.freedesktop.login1.Manager", "PrepareForSleep");
        signal << isFallingAsleep;
        EXPECT_TRUE(loginManager.send(signal));
        settle();
    }
    bool isTraced(std::size_t count) {
        return actor.runUntil([&] { return trace.size() >= count; }, 10s);
    }
    /// Turns that the loop takes by itself; a few at most when nothing happens.
    int turnsOfAQuietLoop() {
        int turns = 0;
        actor.runUntil([&] { return ++turns < 0; }, 30ms);
        return turns;
    }

    RecordingLogSink log;
    PrivateBus bus;
    const QString connectionName = "login manager";
    QDBusConnection loginManager =
        QDBusConnection::connectToBus(QString::fromStdString(bus.address()), connectionName);
    LinuxMainActor actor;
    LogindSleepMonitor monitor{actor, bus.address()};
    std::vector<std::string> trace;
};

TEST_F(LogindSleepMonitorTests, TheObserverOfNowIsToldInOrder) {
    observe("first");
    announce(true);
    announce(false);
    ASSERT_TRUE(isTraced(2));
    observe("second");
    announce(true);
    announce(false);
    ASSERT_TRUE(isTraced(4));
    EXPECT_THAT(trace, ElementsAre("first sleeps", "first wakes", "second sleeps", "second wakes"));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(LogindSleepMonitorTests, NobodyIsToldOfAnythingAfterTheRemoval) {
    observe("removed");
    announce(true); // is on its way
    monitor.observe({});
    announce(false);
    EXPECT_LE(turnsOfAQuietLoop(), 6);
    EXPECT_THAT(trace, IsEmpty());

    monitor.observe({.willSleep =
                         [this] {
                             trace.push_back("asleep");
                             monitor.observe({});
                         },
                     .didWake = [this] { trace.push_back("too late"); }});
    settle();
    announce(true);
    announce(false); // arrives together with the first
    ASSERT_TRUE(isTraced(1));
    EXPECT_LE(turnsOfAQuietLoop(), 6);
    EXPECT_THAT(trace, ElementsAre("asleep"));
}

TEST_F(LogindSleepMonitorTests, AnythingElseOnTheBusIsIgnored) {
    observe("observer");
    QDBusMessage strange = QDBusMessage::createSignal("/org/freedesktop/login1",
                                                      "org.freedesktop.login1.Manager", "PrepareForSleep");
    strange << QStringLiteral("not a Boolean");
    loginManager.send(strange);
    loginManager.send(QDBusMessage::createSignal("/org/freedesktop/login1", "org.freedesktop.login1.Manager",
                                                 "PrepareForShutdown"));
    announce(true);
    ASSERT_TRUE(isTraced(1));
    EXPECT_THAT(trace, ElementsAre("observer sleeps"));
}

TEST_F(LogindSleepMonitorTests, ABusThatBreaksIsLoggedOnceAndLeavesTheLoopInPeace) {
    observe("observer");
    bus.kill();
    ASSERT_TRUE(
        actor.runUntil([&] { return log.count("Sleep and wake are not announced any more") > 0; }, 10s));
    EXPECT_LE(turnsOfAQuietLoop(), 6);
    EXPECT_EQ(log.lines().size(), 1u);

    // The descriptor's number may be anybody's now.
    std::vector<std::array<int, 2>> pipes(8);
    int heard = 0;
    for (auto& ends : pipes) {
        ASSERT_EQ(pipe(ends.data()), 0);
        actor.watchReadable(ends[0], [this, &heard, ends] {
            ++heard;
            actor.unwatch(ends[0]);
        });
    }
    monitor.observe({});
    for (const auto& ends : pipes)
        EXPECT_EQ(write(ends[1], "x", 1), 1);
    EXPECT_TRUE(actor.runUntil([&] { return heard == 8; }, 10s)) << heard;
    for (const auto& ends : pipes)
        for (const int end : ends)
            close(end);
}

TEST_F(LogindSleepMonitorTests, WithoutABusNothingIsAnnouncedWhichIsNoErrorUnlessItShouldBeThere) {
    for (const char* address : {"unix:path=/nonexistent/bus", "no address at all"}) {
        LogindSleepMonitor lonely(actor, address);
        lonely.observe({.willSleep = [] {}, .didWake = [] {}});
    }
    EXPECT_THAT(
        log.lines(),
        ElementsAre("Lifecycle info: Sleep and wake are not announced here: No such file or directory",
                    "Lifecycle error: Sleep and wake are not announced: Connection refused"));
    EXPECT_LE(turnsOfAQuietLoop(), 6);
}

} // namespace
} // namespace velto
