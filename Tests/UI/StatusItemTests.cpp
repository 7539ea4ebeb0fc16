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

} // namespace

} // namespace velto
