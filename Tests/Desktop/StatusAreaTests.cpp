#include "Platform/Linux/IcuTextCollation.h"
#include "Simulation/SimulatedAudioEngine.h"
#include "Tests/Desktop/DesktopShell.h"
#include "Tests/Desktop/DesktopTest.h"
#include "Tests/Support/Machine.h"
#include "Tests/Support/UnseenUserInterface.h"
#include "Velto/Linux/LinuxApplication.h"
#include "Velto/Linux/NotifierStatusItemTypes.h"

#include <QCoreApplication>
#include <QEvent>

#include <gmock/gmock.h>

#include <chrono>
#include <memory>
#include <optional>

namespace velto {
namespace {

using namespace std::chrono_literals;
using testing::SizeIs;

/// On a desktop where no program places its windows.
struct UnplacedApplication final : LinuxApplication {
    using LinuxApplication::LinuxApplication;
    bool dropsPanel() const override { return false; }
};

/// The program on a simulated computer, in virtual time, and its status item on a real bus.
class StatusAreaTests : public MachineTest {
  protected:
    using PanelStyle = UserInterface::PanelStyle;

    StatusAreaTests() { plugUsualOutputs(); }
    ~StatusAreaTests() override {
        if (application) application->requestQuit();
        loop.runUntilIdle();
    }

    /// Starts the program; its user has been welcomed before.
    template <class Application = LinuxApplication>
    void start() {
        defaults.set("hasCompletedOnboarding", true);
        delegate.emplace(platform());
        application = std::make_unique<Application>(
            *delegate, host, [this](auto) { return std::make_unique<UnseenUserInterface>(windows); },
            [this](const auto& condition) {
                loop.runUntilIdle();
                return condition();
            });
        delegate->applicationDidFinishLaunching();
        application->start();
        loop.runReady();
    }
    /// The desktop shows the program's item, perhaps in a moment.
    bool isShown() {
        return runUntil([this] { return !shell->items().empty(); });
    }
    bool losesItem() {
        return runUntil([this] { return !hasItem(); });
    }
    bool hasItem() const { return application->statusItem() != nullptr; }
    void play() {
        menuBar().choose(MenuBarViewModel::Slot::first, "builtin");
        menuBar().choose(MenuBarViewModel::Slot::second, "bluetooth");
        menuBar().play();
        loop.runUntilIdle();
        ASSERT_TRUE(menuBar().isPlaying());
    }
    MenuBarViewModel& menuBar() { return application->delegate().appState().menuBar(); }
    PlatformServices platform() {
        return {.actor = loop,
                .client = std::shared_ptr<CoreAudioClient>(std::shared_ptr<void>(), &world), // not owned
                .defaults = defaults,
                .collation = collation,
                .loginItems = loginItems,
                .host = host,
                .notifications = notifications,
                .makeAudioEngine = [](CoreAudioClient&) { return std::make_unique<SimulatedAudioEngine>(); }};
    }

    struct : SleepMonitor {
        void observe(SleepObserver) override {}
    } sleep;
    LinuxApplicationHost host{sleep};
    const IcuTextCollation collation;
    UnseenWindows windows;
    std::optional<DesktopShell> shell;
    std::optional<AppDelegate> delegate;
    std::unique_ptr<LinuxApplication> application;
};

TEST_F(StatusAreaTests, WithoutOneThePanelIsAWindowThatOpensOnceItIsClearThatNoneComes) {
    start();
    loop.advance(3s);
    EXPECT_EQ(windows.panelsShown, 0);
    loop.advance(2s);
    EXPECT_EQ(windows.panelsShown, 1);
    EXPECT_EQ(windows.style, PanelStyle::window);
    EXPECT_EQ(log.count("This desktop has no status area"), 1U);
    EXPECT_EQ(loop.pendingTimers(), 0U);

    shell.emplace(); // much later
    ASSERT_TRUE(isShown());
    EXPECT_EQ(windows.style, PanelStyle::dropDown);
}

TEST_F(StatusAreaTests, APanelThatIsAskedForAtTheStartWaitsUntilItsPlaceIsClear) {
    start();
    application->raiseOncePlaced();
    EXPECT_EQ(windows.panelsShown, 0);
    shell.emplace();
    ASSERT_TRUE(isShown());
    EXPECT_EQ(windows.panelsShown, 1);
    EXPECT_EQ(windows.style, PanelStyle::dropDown);
    shell.reset();
    ASSERT_TRUE(losesItem());
    shell.emplace();
    ASSERT_TRUE(isShown());
    EXPECT_EQ(windows.panelsShown, 1) << "once";
}

TEST_F(StatusAreaTests, WhereWindowsAreNotPlacedThePanelIsAWindowThatItsItemOpens) {
    shell.emplace();
    start<UnplacedApplication>();
    ASSERT_TRUE(isShown());
    loop.advance(10s);
    EXPECT_EQ(windows.panelsShown, 0);
    shell->callItem("Activate", {200, 10});
    EXPECT_EQ(windows.panelsShown, 1);
    EXPECT_EQ(windows.style, PanelStyle::window);
}

TEST_F(StatusAreaTests, OneThatComesALittleLaterThanTheProgramIsWaitedFor) {
    start();
    loop.advance(3s);
    shell.emplace();
    ASSERT_TRUE(isShown());
    loop.advance(10s);
    EXPECT_EQ(windows.panelsShown, 0);
    EXPECT_EQ(log.count("no status area"), 0U);
}

TEST_F(StatusAreaTests, WhileItIsAwayThePanelIsAWindowAndNothingPopsUp) {
    shell.emplace();
    start();
    ASSERT_TRUE(isShown());
    shell->callItem("Activate", {200, 10});
    EXPECT_EQ(windows.place.center(), QPoint(200, 10));
    EXPECT_EQ(windows.style, PanelStyle::dropDown);
    for (int round = 1; round <= 2; ++round) {
        shell.reset();
        ASSERT_TRUE(losesItem());
        loop.advance(10s);
        EXPECT_EQ(windows.style, PanelStyle::window);
        EXPECT_EQ(windows.panelsShown, 1);
        shell.emplace();
        ASSERT_TRUE(isShown());
        EXPECT_THAT(shell->items(), SizeIs(1));
        EXPECT_EQ(windows.style, PanelStyle::dropDown);
    }
}

TEST_F(StatusAreaTests, AListOfItemsThatNobodyDrawsIsNoStatusArea) {
    shell.emplace();
    shell->setDrawsItems(false);
    start();
    shell->settle();
    EXPECT_FALSE(hasItem());
    loop.advance(5s);
    EXPECT_EQ(windows.panelsShown, 1);
    EXPECT_EQ(windows.style, PanelStyle::window);

    shell->setDrawsItems(true);
    ASSERT_TRUE(isShown());
    EXPECT_EQ(windows.style, PanelStyle::dropDown);
    shell->setDrawsItems(false);
    ASSERT_TRUE(losesItem());
    EXPECT_EQ(windows.style, PanelStyle::window);
}

TEST_F(StatusAreaTests, AtTheEndOfTheDesktopsSessionAllIsPutBackBeforeTheLoopEnds) {
    shell.emplace();
    start();
    play();
    QEvent end(QEvent::Quit); // as Qt sends it when the session manager says that it is over
    QCoreApplication::sendEvent(QCoreApplication::instance(), &end);
    EXPECT_THAT(world.aggregates(), testing::IsEmpty());
    EXPECT_TRUE(application->delegate().isShuttingDown());
    EXPECT_THAT(log.lines(), testing::Not(testing::Contains(testing::HasSubstr("before all outputs"))));
}

TEST_F(StatusAreaTests, TheItemShowsWhatPlaysAndAnswersTheWheelAndTheMenu) {
    shell.emplace();
    start();
    ASSERT_TRUE(isShown());
    EXPECT_EQ(shell->property("Title"), "Velto");
    play();
    EXPECT_EQ(shell->property("Title"), "Velto, playing together");

    ASSERT_TRUE(menuBar().hasMasterVolume());
    menuBar().setMasterVolume(0.5F);
    shell->callItem("Scroll", {240, "vertical"});
    EXPECT_FLOAT_EQ(menuBar().masterVolume(), 0.58F);
    shell->callItem("Scroll", {-120, "vertical"});
    EXPECT_FLOAT_EQ(menuBar().masterVolume(), 0.54F);

    loop.runUntilIdle();
    EXPECT_EQ(qdbus_cast<NotifierToolTip>(shell->property("ToolTip")).text.toStdString(),
              "Built-in Speakers + Headphones, 54%");
    EXPECT_TRUE(shell->choose("Settings…"));
    EXPECT_EQ(windows.settingsShown, 1);
    EXPECT_TRUE(shell->choose("Open Velto"));
    EXPECT_EQ(windows.panelsShown, 1);
    shell->callItem("ContextMenu", {200, 10});
    EXPECT_THAT(windows.menu, SizeIs(testing::Ge(6U)));
    EXPECT_EQ(windows.place.center(), QPoint(200, 10));
    EXPECT_TRUE(shell->choose("Stop: Built-in Speakers + Headphones"));
    loop.runUntilIdle();
    EXPECT_FALSE(menuBar().isPlaying());
    EXPECT_TRUE(shell->choose("Quit Velto"));
    EXPECT_TRUE(application->delegate().isShuttingDown());
    loop.runUntilIdle();
    EXPECT_THAT(world.aggregates(), testing::IsEmpty());
}

} // namespace
} // namespace velto
