// The status item in a tray: what is done to its icon.
#include "Tests/UI/TestTray.h"
#include "Tests/UI/WindowTest.h"
#include "Velto/Linux/TrayStatusItem.h"

#include <QTest>
#include <QWheelEvent>
#include <QWindow>

#include <stdexcept>

namespace velto {

namespace {

class StatusItemTests : public WindowTest {
  protected:
    QWindow& icon() {
        auto* item = dynamic_cast<TrayStatusItem*>(application->statusItem());
        if (!item) throw std::runtime_error("There is no item in the tray");
        return *item;
    }
    void turnWheel(int notches) {
        const QPointF middle(icon().width() / 2.0, icon().height() / 2.0);
        QWheelEvent event(middle, icon().mapToGlobal(middle), {}, QPoint(0, notches * 120), Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&icon(), &event);
        actor.runUntilIdle();
    }
};

TEST_F(StatusItemTests, aClickDropsThePanelAndTheWheelTurnsAllVolumes) {
    TestTray tray;
    launch();
    tray.serve();
    settle();
    ASSERT_EQ(tray.iconCount(), 1);
    EXPECT_EQ(windows, nullptr); // nothing is opened unasked

    QTest::mouseClick(&icon(), Qt::LeftButton);
    settle();
    ASSERT_TRUE(windows && windows->panel()->isVisible());
    EXPECT_TRUE(windows->panel()->flags().testFlag(Qt::FramelessWindowHint));

    play("airpods", "flip");
    const float before = menuBar().masterVolume();
    turnWheel(-2);
    EXPECT_NEAR(menuBar().masterVolume(), before - 0.08F, 0.001F);
    EXPECT_LT(volumeOf("airpods"), 0.6F);
    panel().key(Qt::Key_Escape);
    EXPECT_FALSE(windows->panel()->isVisible());
}

TEST_F(StatusItemTests, thePanelHangsFromTheBarWhereverThatIsAndHoweverItGrows) {
    TestTray tray;
    launch();
    tray.serve();
    settle();
    constexpr int top = 1960; // of a bar at the bottom
    tray.moveTo(1500, top);
    QTest::mouseClick(&icon(), Qt::LeftButton);
    settle();
    const auto gap = [&] { return top - windows->panel()->y() - windows->panel()->height(); };
    EXPECT_NEAR(windows->panel()->x() + windows->panel()->width() / 2, 1512, 2);
    EXPECT_NEAR(gap(), 6, 1);
    const int height = windows->panel()->height();
    play("airpods", "flip");
    const int grown = windows->panel()->height();
    EXPECT_GT(grown, height);
    EXPECT_NEAR(gap(), 6, 1);
    menuBar().stop();
    actor.runUntilIdle();
    settle();
    EXPECT_LT(windows->panel()->height(), grown);
    EXPECT_NEAR(gap(), 6, 1);
}

TEST_F(StatusItemTests, theOtherButtonShowsAMenuForPointerAndKeys) {
    TestTray tray;
    launch();
    tray.serve();
    settle();
    choose("airpods", "flip");
    const auto open = [&] {
        QTest::mouseClick(&icon(), Qt::RightButton);
        settle();
    };
    open();
    ASSERT_TRUE(windows->menu());
    page(windows->menu(), "The menu").click("Play Together: AirPods Pro + JBL Flip 6");
    actor.runUntilIdle();
    settle();
    EXPECT_TRUE(menuBar().isPlaying());
    EXPECT_EQ(windows->menu(), nullptr);

    open();
    page(windows->menu(), "The menu").key(Qt::Key_Escape);
    EXPECT_EQ(windows->menu(), nullptr);
    open();
    page(windows->menu(), "The menu").key(Qt::Key_Down);
    page(windows->menu(), "The menu").key(Qt::Key_Return);
    actor.runUntilIdle();
    settle();
    EXPECT_FALSE(menuBar().isPlaying());
}

TEST_F(StatusItemTests, theProgramsIconIsGivenToWindowsThatShowOneAndToNoOthers) {
    TestTray tray;
    launch();
    tray.serve();
    settle();
    QTest::mouseClick(&icon(), Qt::LeftButton);
    settle();
    EXPECT_TRUE(icon().QWindow::icon().isNull());
    EXPECT_TRUE(windows->panel()->icon().isNull());

    panel().click("Settings");
    settle();
    EXPECT_FALSE(windows->settingsWindow()->icon().isNull());
    windows->setPanelStyle(UserInterface::PanelStyle::window);
    EXPECT_FALSE(windows->panel()->icon().isNull());
}

} // namespace

} // namespace velto
