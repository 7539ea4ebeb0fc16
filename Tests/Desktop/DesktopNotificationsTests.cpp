// Notifications, against a shower of them on a bus of the test's own.
#include "Platform/Linux/DesktopNotifications.h"

#include "Platform/Linux/LinuxMainActor.h"
#include "Simulation/RecordingLogSink.h"
#include "Tests/Desktop/NotificationShower.h"
#include "Tools/SoundLab/PrivateBus.h"

#include <gmock/gmock.h>

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velto {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class DesktopNotificationsTests : public testing::Test {
  protected:
    void show(std::string title, std::vector<Notification::Answer> answers = {}) {
        notifications.show({std::move(title), "Text.", std::move(answers)},
                           [this](std::string_view key) { taken.emplace_back(key); });
    }
    /// What the shower has been told, once it has been told so much.
    std::vector<std::string> told(std::size_t count) {
        actor.runUntil([&] { return shower->told.size() >= count; }, 10s);
        settle();
        return shower->told;
    }
    /// All that is on its way has arrived: the answer to a question that is asked last.
    void settle() {
        for (int round = 0; round < 2; ++round) {
            bool isAnswered = false;
            const auto asking = BusConnection::open(actor, BusConnection::Bus::session, bus.address(), {});
            sd_bus_call_method_async(
                asking->bus(), nullptr, NotificationShower::service, NotificationShower::path,
                "org.freedesktop.DBus.Peer", "Ping",
                [](sd_bus_message*, void* data, sd_bus_error*) {
                    return *static_cast<bool*>(data) = true, 0;
                },
                &isAnswered, "");
            actor.runUntil([&] { return isAnswered; }, 10s);
            asking->end();
        }
    }

    RecordingLogSink log;
    PrivateBus bus;
    LinuxMainActor actor;
    std::optional<NotificationShower> shower{std::in_place, actor, bus.address()};
    DesktopNotifications notifications{actor, bus.address()};
    std::vector<std::string> taken;
};

TEST_F(DesktopNotificationsTests, OneIsReplacedByTheNextAndTakenBack) {
    show("First");
    EXPECT_THAT(told(1), ElementsAre("0 First: Text."));
    show("Second");
    show("Third"); // before the second has a number
    show("Fourth");
    EXPECT_THAT(told(3), ElementsAre("0 First: Text.", "1 Second: Text.", "1 Fourth: Text."));
    notifications.withdraw();
    notifications.withdraw();
    EXPECT_EQ(told(4).back(), "close 1");
    show("Fifth");
    notifications.withdraw(); // before it has a number
    EXPECT_THAT(told(6), testing::Contains("0 Fifth: Text."));
    EXPECT_EQ(shower->told.back(), "close 2");
    EXPECT_EQ(shower->told.size(), 6u);
}

TEST_F(DesktopNotificationsTests, AnAnswerIsHeardOnceAndOnlyOfWhatIsShown) {
    const std::vector<Notification::Answer> answers{{"keep", "Keep playing"}, {"stop", "Stop"}};
    show("Question", answers);
    EXPECT_THAT(told(1), ElementsAre("0 Question: Text. keep Keep playing stop Stop until answered"));
    shower->emit("ActionInvoked", "us", 99u, "stop"); // another program's
    shower->emit("ActionInvoked", "us", 1u, "keep");
    shower->emit("ActionInvoked", "us", 1u, "stop");
    shower->emit("NotificationClosed", "uu", 1u, 2u);
    settle();
    EXPECT_THAT(taken, ElementsAre("keep"));
    show("Another"); // the first is closed: it can't be replaced
    EXPECT_EQ(told(2).back(), "0 Another: Text.");
    shower->emit("NotificationClosed", "uu", 2u, 2u);
    settle();
    shower->emit("ActionInvoked", "us", 2u, "keep");
    settle();
    EXPECT_THAT(taken, ElementsAre("keep"));
}

TEST_F(DesktopNotificationsTests, ABusThatHangsHoldsNobodyUp) {
    bus.stop();
    show("Before it answers"); // returns, or the test hangs
    show("Instead of that");
    bus.goOn();
    EXPECT_EQ(told(2).back(), "1 Instead of that: Text.");
    bus.stop();
    notifications.withdraw();
    bus.goOn();
    EXPECT_EQ(told(3).back(), "close 1");
}

TEST_F(DesktopNotificationsTests, WithoutAShowerOrABusNothingIsShownWhichIsLogged) {
    shower.reset();
    settle();
    show("Nobody sees this");
    EXPECT_TRUE(actor.runUntil([&] { return log.count("A notification could not be shown") == 1; }, 10s));
    shower.emplace(actor, bus.address());
    show("This is seen");
    EXPECT_THAT(told(1), ElementsAre("0 This is seen: Text."));
    bus.kill();
    EXPECT_TRUE(actor.runUntil([&] { return log.count("the bus has gone") == 1; }, 10s));
    show("Nor this");
    EXPECT_EQ(log.count("A notification could not be shown"), 3u);
    EXPECT_THAT(taken, IsEmpty());
}

} // namespace
} // namespace velto
