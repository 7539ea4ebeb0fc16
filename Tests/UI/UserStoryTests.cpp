// What people do with Velto, from the first start on, by mouse and keys.
#include "Tests/UI/WindowTest.h"

#include <QClipboard>
#include <QGuiApplication>

namespace velto {

namespace {

using testing::ElementsAre;

class UserStoryTests : public WindowTest {
  protected:
    QString value(const QString& slider) {
        return QString::number(std::lround(panel().find(slider).value * 100));
    }
    std::vector<std::string> presetNames() {
        std::vector<std::string> names;
        for (const AudioPreset& preset : preferences().userPresets())
            names.push_back(preset.name);
        return names;
    }
};

TEST_F(UserStoryTests, theWelcomeWindowIsSeenOnceHoweverItIsClosed) {
    enum class Way { programEnds, button, closeBox };
    for (const Way way : {Way::programEnds, Way::button, Way::closeBox}) {
        computer.defaults().startOver({});
        launchForTheFirstTime();
        EXPECT_EQ(QGuiApplication::focusWindow(), windows->onboardingWindow()) << "the panel is behind it";
        EXPECT_FALSE(preferences().hasCompletedOnboarding());
        if (way == Way::programEnds) {
            quit();
            windows->onboardingWindow()->close(); // as all windows then are
            EXPECT_FALSE(preferences().hasCompletedOnboarding());
            application.reset();
            continue;
        }
        if (way == Way::button) {
            welcome().click("Continue");
        } else {
            welcome().window().close(); // what the window manager asks for when its box is clicked
            settle();
        }
        EXPECT_TRUE(preferences().hasCompletedOnboarding());
        EXPECT_FALSE(windows->onboardingWindow()->isVisible());
        quit();
        application.reset();
        launchForTheFirstTime();
        EXPECT_EQ(windows->onboardingWindow(), nullptr);
        quit();
        application.reset();
    }
}

TEST_F(UserStoryTests, theWelcomeWindowSaysHowThePanelIsHadAndFitsTheScreen) {
    launchForTheFirstTime();
    welcome().find(
        "Velto plays on when its window is closed. Start it again whenever you want the window back.");
    windows->setPanelStyle(UserInterface::PanelStyle::dropDown); // a status area has come
    settle();
    welcome().find("Velto lives in the system tray. Click its icon whenever you want to play together.");
    QQuickWindow* window = windows->onboardingWindow();
    ASSERT_GT(window->height(), 200);
    window->setProperty("longestHeight", 200);
    settle();
    EXPECT_EQ(window->height(), 200);
    welcome().key(Qt::Key_End);
    EXPECT_LE(welcome().find("Continue").place.bottom(), 200);
    welcome().key(Qt::Key_Return);
    EXPECT_FALSE(window->isVisible());
}

TEST_F(UserStoryTests, aPanelThatIsAWindowGrowsWithinTheScreen) {
    launch();
    windows->setPanelStyle(UserInterface::PanelStyle::window);
    QQuickWindow& window = panel().window();
    const QRect screen = window.screen()->availableGeometry();
    window.setPosition(screen.left(), screen.bottom() - window.height());
    settle();
    const int before = window.height();
    play("airpods", "flip");
    EXPECT_GT(window.height(), before);
    EXPECT_LE(window.frameGeometry().bottom(), screen.bottom());
    EXPECT_GE(window.frameGeometry().top(), screen.top());
}

TEST_F(UserStoryTests, twoOutputsAreChosenByMouseAndPlay) {
    launch();
    EXPECT_FALSE(panel().find("Play Together").isEnabled);
    panel().click("First output");
    panel().click("JBL Flip 6");
    panel().click("Second output");
    EXPECT_FALSE(panel().has("JBL Flip 6")); // it is taken
    panel().click("AirPods Pro");
    EXPECT_EQ(panel().find("First output").description, "JBL Flip 6, Bluetooth");
    panel().click("Play Together");
    actor.runUntilIdle();
    settle();
    EXPECT_TRUE(panel().has("Playing Together"));
    EXPECT_EQ(world().defaultOutputUID(), AggregateDeviceManager::aggregateUID);

    panel().click("Stop");
    actor.runUntilIdle();
    settle();
    EXPECT_EQ(world().defaultOutputUID(), "builtin");
    EXPECT_TRUE(panel().has("Not playing"));
}

TEST_F(UserStoryTests, theWholeWayIsOpenToTheKeyboard) {
    launch();
    panel().tabTo("First output");
    panel().key(Qt::Key_Space);
    panel().key(Qt::Key_Down);
    panel().key(Qt::Key_Return);
    const std::string first = menuBar().firstDeviceUID().value_or("none");
    panel().tabTo("Second output");
    panel().key(Qt::Key_Return);
    panel().key(Qt::Key_Down);
    panel().key(Qt::Key_Return);
    const std::string second = menuBar().secondDeviceUID().value_or("none");
    EXPECT_TRUE(world().isPlugged(first) && world().isPlugged(second) && first != second)
        << first << " and " << second;
    panel().tabTo("Play Together");
    panel().key(Qt::Key_Space);
    actor.runUntilIdle();
    settle();
    ASSERT_TRUE(menuBar().isPlaying());
    panel().tabTo("Stop");
    panel().key(Qt::Key_Return);
    actor.runUntilIdle();
    settle();
    EXPECT_FALSE(menuBar().isPlaying());
}

TEST_F(UserStoryTests, volumesFollowPointerKeysAndWheel) {
    launch();
    play("airpods", "flip");
    panel().dragTo("Volume of AirPods Pro", 0.25);
    EXPECT_NEAR(volumeOf("airpods"), 0.25, 0.02);
    panel().tabTo("Volume of JBL Flip 6");
    const float before = volumeOf("flip");
    panel().key(Qt::Key_Right);
    panel().key(Qt::Key_Up);
    EXPECT_NEAR(volumeOf("flip"), before + 0.1, 0.001);
    for (const auto& [key, volume] :
         {std::pair{Qt::Key_End, 1.0}, {Qt::Key_PageDown, 0.8}, {Qt::Key_Home, 0}, {Qt::Key_PageUp, 0.2}}) {
        panel().key(key);
        EXPECT_NEAR(volumeOf("flip"), volume, 0.001) << key;
    }
    menuBar().setVolume(before + 0.1F, "flip");
    settle();
    panel().wheel("Volume of JBL Flip 6", -2);
    EXPECT_NEAR(volumeOf("flip"), before, 0.001);
    EXPECT_NEAR(panel().find("Volume of JBL Flip 6").value, before, 0.001);

    panel().click("Mute AirPods Pro");
    EXPECT_TRUE(world().device("airpods").isMuted.value());
    panel().click("Unmute AirPods Pro");
    EXPECT_FALSE(world().device("airpods").isMuted.value());

    panel().dragTo("Volume of all outputs", 0.9);
    EXPECT_NEAR(panel().find("Volume of all outputs").value, 0.9, 0.02);
    EXPECT_GT(volumeOf("airpods"), 0.3F);
    benchPage().dragTo("Bench volume of JBL Flip 6", 0.1); // on the device itself
    EXPECT_NEAR(panel().find("Volume of JBL Flip 6").value, 0.1, 0.02);
}

TEST_F(UserStoryTests, eachOutputIsDelayedByPointerAndKeys) {
    launch();
    EXPECT_FALSE(panel().has("Adjust when each output is heard"));
    play("airpods", "flip");
    const auto delayOf = [&](const std::string& uid) { return world().aggregates().at(0).delays.at(uid); };
    panel().tabTo("Adjust when each output is heard");
    panel().key(Qt::Key_Return);
    settle();
    panel().dragTo("Delay of AirPods Pro", 0.4);
    EXPECT_NEAR(delayOf("airpods"), 200, 10);
    const double before = delayOf("airpods");
    panel().tabTo("Delay of AirPods Pro");
    panel().key(Qt::Key_Right);
    panel().key(Qt::Key_Left, Qt::ShiftModifier);
    settle();
    EXPECT_NEAR(delayOf("airpods"), before + 0.9, 0.01);
    EXPECT_EQ(delayOf("flip"), 0);
    EXPECT_EQ(state().syncProfiles().profiles().at(0).kind, SyncProfile::Kind::manual);

    const auto type = [&](const char* text, Qt::Key end) {
        panel().tabTo("Delay of JBL Flip 6, in milliseconds");
        panel().type(text);
        panel().key(end);
        settle();
    };
    type("333.3", Qt::Key_Return);
    EXPECT_NEAR(delayOf("flip"), 333.3 - before - 0.9, 0.11);
    type("", Qt::Key_Return); // no number, nor anything beyond what can be
    type("12", Qt::Key_Escape);
    EXPECT_NEAR(delayOf("flip"), 333.3 - before - 0.9, 0.11);
    EXPECT_FALSE(state().syncTestPlayer().isPlaying());
    panel().tabTo("Click while you adjust");
    panel().key(Qt::Key_Space);
    EXPECT_TRUE(state().syncTestPlayer().isPlaying());
    advance(std::chrono::seconds(7));
    EXPECT_FALSE(state().syncTestPlayer().isPlaying());
    panel().click("Use Reported Latency");
    settle();
    EXPECT_TRUE(state().syncTestPlayer().isPlaying()); // one turned: it is heard again
    EXPECT_EQ(delayOf("flip"), 0);
    EXPECT_NEAR(delayOf("airpods"), 21.3, 0.1);
    EXPECT_EQ(state().syncProfiles().profiles().at(0).kind, SyncProfile::Kind::estimated);
    menuBar().stop();
    settle();
    EXPECT_FALSE(state().syncTestPlayer().isPlaying());
}

TEST_F(UserStoryTests, aLostOutputAsksAndBothAnswersAreKept) {
    launch();
    preferences().disconnectBehavior.set(DisconnectBehavior::askUser);
    for (const bool keeps : {true, false}) {
        play("airpods", "flip");
        benchPage().click("Unplug JBL Flip 6");
        actor.runUntilIdle();
        settle();
        EXPECT_TRUE(panel().has("Keep playing on the remaining output, or stop playing together?"));
        EXPECT_FALSE(panel().has("Stop"));
        panel().click(keeps ? "Keep playing on remaining outputs" : "Stop playing together");
        actor.runUntilIdle();
        settle();
        EXPECT_FALSE(panel().has("Stop playing together"));
        EXPECT_EQ(menuBar().isPlaying(), keeps);
        EXPECT_EQ(panel().has("JBL Flip 6 disconnected"), keeps);
        benchPage().click("Plug JBL Flip 6");
        actor.runUntilIdle();
        settle();
        EXPECT_EQ(panel().has("Playing Together"), keeps);
        if (keeps) panel().click("Stop");
        actor.runUntilIdle();
    }
    EXPECT_EQ(world().defaultOutputUID(), "builtin");
}

TEST_F(UserStoryTests, aSetupIsSavedRenamedMarkedDeletedAndTakenBack) {
    launch();
    play("airpods", "flip");
    panel().click("Save current setup");
    panel().type("  Evening ");
    panel().click("Save");
    EXPECT_THAT(presetNames(), ElementsAre("Evening"));

    panel().click("More for Evening");
    panel().click("Rename");
    panel().type("Kitchen");
    panel().key(Qt::Key_Return);
    EXPECT_THAT(presetNames(), ElementsAre("Kitchen"));
    EXPECT_EQ(panel().focused(), "Kitchen");
    panel().key(Qt::Key_F2);
    panel().type("Last Used");
    panel().key(Qt::Key_Return);
    EXPECT_TRUE(panel().shows("“Last Used” is what Velto calls the outputs that played last."));
    panel().key(Qt::Key_Escape);
    panel().key(Qt::Key_F2);
    panel().type("Nothing of it");
    panel().key(Qt::Key_Escape);
    EXPECT_THAT(presetNames(), ElementsAre("Kitchen"));
    EXPECT_TRUE(panel().window().isVisible());
    EXPECT_EQ(panel().focused(), "Kitchen");

    panel().click("Add to Favourites: Kitchen");
    panel().click("More for Kitchen");
    panel().click("Auto Connect");
    EXPECT_TRUE(preferences().userPresets().front().isFavorite);
    EXPECT_TRUE(preferences().userPresets().front().autoConnect);
    EXPECT_FALSE(preferences().autoConnect());
    panel().click("Turn On");
    EXPECT_TRUE(preferences().autoConnect());
    EXPECT_FALSE(panel().has("Turn On"));
    const auto whole = preferences().presets();

    panel().click("More for Kitchen");
    panel().click("Delete");
    EXPECT_THAT(presetNames(), ElementsAre());
    EXPECT_TRUE(panel().shows("Deleted “Kitchen”"));
    EXPECT_EQ(panel().focused(), "Undo");
    panel().key(Qt::Key_Space);
    EXPECT_EQ(panel().focused(), "Kitchen");
    EXPECT_EQ(preferences().presets(), whole);

    panel().click("Stop");
    actor.runUntilIdle();
    settle();
    panel().click("Kitchen");
    actor.runUntilIdle();
    settle();
    EXPECT_TRUE(panel().has("Playing Together"));
}

TEST_F(UserStoryTests, aFailedStartSaysWhatToDoAndIsDismissed) {
    launch();
    benchPage().click("Fail Next Start");
    play("airpods", "flip");
    const std::string error = menuBar().errorText().value_or("");
    EXPECT_THAT(panel().names(), testing::Contains(toQString(error)));
    const QString recovery = toQString(menuBar().recoveryText());
    EXPECT_EQ(panel().find(toQString(error)).description, recovery);
    EXPECT_TRUE(!recovery.isEmpty() && panel().shows(recovery));
    panel().click("Dismiss");
    EXPECT_FALSE(panel().has(toQString(error)));
    EXPECT_EQ(world().defaultOutputUID(), "builtin");
}

TEST_F(UserStoryTests, escapeClosesWhatIsOnTopFirst) {
    launch();
    savedPreset("Evening", "airpods", "flip");
    panel().click("First output");
    ASSERT_TRUE(panel().has("JBL Flip 6"));
    panel().key(Qt::Key_Escape);
    EXPECT_FALSE(panel().has("JBL Flip 6"));
    panel().click("More for Evening");
    ASSERT_TRUE(panel().has("Delete"));
    panel().key(Qt::Key_Escape);
    EXPECT_FALSE(panel().has("Delete"));
    panel().key(Qt::Key_Escape);
    EXPECT_FALSE(windows->panel()->isVisible());
}

} // namespace

} // namespace velto
