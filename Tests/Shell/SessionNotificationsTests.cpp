// What is told of what happens while the panel is closed, and what isn't.
#include "Tests/Shell/ShellTest.h"
#include "VeltoCore/Async/TaskScope.h"

#include <chrono>

namespace velto {

inline void PrintTo(const Notification& notification, std::ostream* stream) {
    *stream << notification.title << ": " << notification.text;
    for (const auto& answer : notification.answers)
        *stream << " [" << answer.title << "]";
}

namespace {

using testing::Optional;

const std::string stopped = "Velto stopped playing together.";
const Notification lost{"Headphones disconnected", "Velto plays on the remaining output."};
const Notification question{
    "Headphones disconnected",
    "Keep playing on the remaining output, or stop playing together?",
    {{"keep", "Keep playing on remaining outputs"}, {"stop", "Stop playing together"}}};

class SessionNotificationsTests : public ShellTest {
  protected:
    SessionNotificationsTests() {
        launch();
        play("bluetooth", "builtin");
    }
    void lose(DisconnectBehavior behavior) {
        preferences().disconnectBehavior.set(behavior);
        unplug("bluetooth");
    }
    const std::optional<Notification>& shown() const { return notifications.shown; }
};

TEST_F(SessionNotificationsTests, WhatHappensByItselfIsToldUnlessThePanelIsOpenOrNobodyWantsToKnow) {
    const auto goIdle = [this] {
        menuBar().stop();
        run();
    };
    const auto bothGone = [this] {
        world.unplug("bluetooth");
        world.unplug("builtin");
        loop.advance(std::chrono::minutes(2));
    };
    const auto autoConnect = [&] {
        presets().toggleAutoConnect(save("Evening"));
        preferences().autoConnect.set(true);
        goIdle();
        unplug("bluetooth");
        replug("bluetooth");
    };
    const std::vector<std::pair<std::function<void()>, Notification>> stories{
        {[this] { lose(DisconnectBehavior::keepPlaying); }, lost},
        {[this] { lose(DisconnectBehavior::askUser); }, question},
        {[this] { lose(DisconnectBehavior::pauseGroup); }, {"Headphones disconnected", stopped}},
        {bothGone, {"Both outputs disconnected", stopped}},
        {[this] { pickDefault("usb"); },
         {"Sound goes to USB DAC", "It was chosen as the output, so Velto stopped playing together."}},
        {autoConnect, {"Playing Evening", "Auto Connect started this setup: its outputs are connected."}},
    };
    enum class Look { away, atPanel, off };
    for (const auto& [happens, told] : stories) {
        for (const Look look : {Look::away, Look::atPanel, Look::off}) {
            state().notifications().setIsPanelOpen(look == Look::atPanel);
            preferences().showNotifications.set(look != Look::off);
            notifications.shown.reset();
            happens();
            EXPECT_EQ(shown(), look == Look::away ? std::optional(told) : std::nullopt) << told.title;
            for (const auto* uid : {"bluetooth", "builtin"})
                if (!world.isPlugged(uid)) replug(uid);
            goIdle();
            preferences().autoConnect.set(false);
            preferences().disconnectBehavior.set(DisconnectBehavior::keepPlaying);
            play("bluetooth", "builtin");
        }
    }
}

TEST_F(SessionNotificationsTests, ARecoveryIsTold) {
    for (const bool isOn : {true, false}) {
        preferences().showNotifications.set(isOn);
        notifications.shown.reset();
        preferences().synchronize();
        crash();
        launch();
        EXPECT_EQ(shown().has_value(), isOn);
        if (isOn) EXPECT_EQ(shown()->title, "Sound output put back");
        play("bluetooth", "builtin");
        EXPECT_EQ(shown(), std::nullopt) << "something else plays by now";
    }
}

TEST_F(SessionNotificationsTests, WhatTheUserDoesIsNotTold) {
    const UUID desk = save("Desk");
    menuBar().stop();
    run();
    presets().activate(desk);
    run();
    TaskScope tasks(loop);
    tasks.spawn(coordinator().reconnect());
    run();
    settings().beginReset();
    run();
    choose("usb", "hdmi");
    menuBar().play();
    run();
    EXPECT_EQ(notifications.count, 0);
}

TEST_F(SessionNotificationsTests, AnAnswerIsTakenFromTheNotification) {
    lose(DisconnectBehavior::askUser);
    notifications.answer("keep");
    run();
    EXPECT_TRUE(menuBar().isPlaying() && !menuBar().disconnectQuestion());
    replug("bluetooth");
    unplug("bluetooth");
    ASSERT_THAT(shown(), Optional(question));
    int openings = 0;
    state().notifications().setOpenHandler([&] { ++openings; });
    notifications.answer(Notification::opened);
    EXPECT_EQ(openings, 1);
    EXPECT_TRUE(menuBar().disconnectQuestion());
    replug("bluetooth");
    unplug("bluetooth");
    notifications.answer("stop");
    run();
    EXPECT_FALSE(menuBar().isPlaying());
}

TEST_F(SessionNotificationsTests, WhatIsNoMoreSoIsTakenBack) {
    const std::vector<std::function<void()>> ends{
        [this] { replug("bluetooth"); },
        [this] { menuBar().answerDisconnect(MenuBarViewModel::DisconnectAnswer::keepPlaying); },
        [this] { menuBar().stop(); },
        [this] { state().notifications().setIsPanelOpen(true); },
        [this] { settings().list().set("showNotifications", false); },
    };
    for (const auto& end : ends) {
        state().notifications().setIsPanelOpen(false);
        settings().list().set("showNotifications", true);
        if (!world.isPlugged("bluetooth")) replug("bluetooth");
        if (!menuBar().isPlaying()) play("bluetooth", "builtin");
        lose(DisconnectBehavior::askUser);
        ASSERT_THAT(shown(), Optional(question)) << &end - ends.data();
        end();
        run();
        EXPECT_EQ(shown(), std::nullopt) << &end - ends.data();
    }
}

} // namespace
} // namespace velto
