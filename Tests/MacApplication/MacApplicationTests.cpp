// The application as it is on a Mac, over a fake of AppKit: how it ends, and its item in the menu bar.
#include "Velto/macOS/MacApplication.h"

#include "Tests/MacApplication/FakeAppKit.h"
#include "Tests/Support/Machine.h"
#include "Tests/Support/Platform.h"
#include "Tests/Support/PlatformTextCollation.h"
#include "Tests/Support/UnseenUserInterface.h"

#include <gmock/gmock.h>

#include <chrono>
#include <memory>
#include <optional>

namespace velto {
namespace {

using namespace std::chrono_literals;
using testing::IsEmpty;

class MacApplicationTests : public MachineTest {
  protected:
    MacApplicationTests() {
        plugUsualOutputs();
        defaults.set("hasCompletedOnboarding", true);
    }
    ~MacApplicationTests() override {
        if (!application) return;
        loop.runUntilIdle();
        if (!appKit.hasEnded && !appKit.isWaitingForReply) appKit.terminate();
        loop.runUntilIdle();
        EXPECT_EQ(desktop.terminationReplies, appKit.isWaitingForReply ? 1 : 0);
        EXPECT_THAT(world.aggregates(), IsEmpty());
    }

    void boot() {
        delegate.emplace(platformOf(*this, *collation));
        application.emplace(*delegate, termination,
                            [this](auto) { return std::make_unique<UnseenUserInterface>(windows); });
        delegate->applicationDidFinishLaunching();
    }
    void launch() {
        boot();
        application->start();
        loop.runUntilIdle();
    }
    void play() {
        menuBar().choose(MenuBarViewModel::Slot::first, "builtin");
        menuBar().choose(MenuBarViewModel::Slot::second, "bluetooth");
        menuBar().play();
        loop.runUntilIdle();
        ASSERT_TRUE(menuBar().isPlaying());
    }
    MenuBarViewModel& menuBar() { return application->delegate().appState().menuBar(); }

    FakeAppKit appKit;
    TerminationDelegate termination;
    const std::unique_ptr<TextCollation> collation = makePlatformTextCollation();
    UnseenWindows windows;
    std::optional<AppDelegate> delegate;
    std::optional<MacApplication> application;
};

TEST_F(MacApplicationTests, EndsAtOnceWhenNothingPlaysButNotFromWithinATurn) {
    launch();
    EXPECT_TRUE(appKit.choose("Quit Velto")); // like the panel and a signal in the middle of something
    EXPECT_FALSE(application->delegate().isShuttingDown()) << "the turn would wait for itself";
    appKit.turnRunLoop();
    EXPECT_TRUE(appKit.hasEnded);
}

TEST_F(MacApplicationTests, WaitsUntilTheOutputsAreBackHoweverOftenItIsAsked) {
    launch();
    play();
    appKit.dragItemOut();
    appKit.turnRunLoop();
    EXPECT_TRUE(appKit.isWaitingForReply);
    appKit.terminate(); // log-out, meanwhile
    EXPECT_EQ(desktop.terminationReplies, 0);
    loop.runUntilIdle();
    EXPECT_EQ(desktop.terminationReplies, 1);
    EXPECT_EQ(world.defaultOutputUID(), "usb");
}

TEST_F(MacApplicationTests, WaitsForTheCleanUpAfterAnEarlierRun) {
    launch();
    play();
    defaults.synchronize();
    application.reset();
    world.programDies();
    ASSERT_FALSE(world.aggregates().empty());

    world.faults.lingersAfterDestroy = 500ms;
    boot();
    while (!application->delegate().appState().systemAudio().isOperationRunning())
        ASSERT_TRUE(loop.runNextTurn());
    appKit.terminate();
    EXPECT_TRUE(appKit.isWaitingForReply) << "to end now would leave the outputs as they are";
    while (desktop.terminationReplies == 0)
        ASSERT_TRUE(loop.runNextTurn());
    EXPECT_FALSE(application->delegate().appState().systemAudio().isOperationRunning());
    EXPECT_EQ(world.defaultOutputUID(), "usb");
}

TEST_F(MacApplicationTests, TheItemInTheMenuBarShowsWhatPlaysAndTakesClicksAndTheWheel) {
    launch();
    EXPECT_EQ(appKit.symbol, "speaker.wave.2");
    EXPECT_EQ(appKit.accessibilityText, "Velto");
    EXPECT_EQ(windows.panelsShown, 0) << "only without an item does the panel open by itself";
    appKit.clickItem();
    EXPECT_EQ(windows.panelsShown, 1);
    EXPECT_EQ(windows.style, UserInterface::PanelStyle::dropDown);
    EXPECT_EQ(windows.place, QRect(1200, 0, 28, 24));
    appKit.openAgain();
    EXPECT_EQ(windows.panelsShown, 2);
    EXPECT_TRUE(appKit.choose("Settings…"));
    EXPECT_EQ(windows.settingsShown, 1);

    play();
    EXPECT_EQ(appKit.symbol, "hifispeaker.2");
    EXPECT_EQ(appKit.accessibilityText, "Velto, playing together");
    menuBar().setMasterVolume(0.5F);
    appKit.scrollOverItem(1);
    EXPECT_FLOAT_EQ(menuBar().masterVolume(), 0.54F);
}

TEST_F(MacApplicationTests, RunsWithoutWindowsUntilItIsOpenedAgain) {
    boot();
    play();
    EXPECT_EQ(appKit.symbol, "");
    EXPECT_EQ(windows.panelsShown, 0);
    appKit.openAgain();
    appKit.openAgain();
    EXPECT_EQ(appKit.symbol, "hifispeaker.2");
    EXPECT_EQ(windows.panelsShown, 2);
    EXPECT_EQ(windows.style, UserInterface::PanelStyle::dropDown);
    EXPECT_TRUE(menuBar().isPlaying());
}

} // namespace
} // namespace velto
