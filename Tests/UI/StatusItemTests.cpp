// The status item in a tray: what is done to its icon.
#include "Tests/UI/Stage.h"
#include "Tests/UI/TestTray.h"

#include <QApplication>
#include <QTest>
#include <QWheelEvent>
#include <QWidget>

#include <algorithm>

namespace velto {

namespace {

class StatusItemTests : public Stage {
  protected:
    /// Where the icon is drawn.
    static QWidget& icon() {
        const QWidgetList all = QApplication::topLevelWidgets();
        const auto found = std::ranges::find_if(
            all, [](const QWidget* widget) { return widget->inherits("QSystemTrayIconSys"); });
        if (found == all.end()) throw std::runtime_error("There is no icon");
        return **found;
    }
    void turnWheel(int notches) {
        const QPointF middle(icon().rect().center());
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
    const float before = menuBar().masterVolume().value();
    turnWheel(-2);
    EXPECT_NEAR(menuBar().masterVolume().value(), before - 0.08F, 0.001F);
    EXPECT_LT(volumeOf("airpods"), 0.6F);
    panel().key(Qt::Key_Escape);
    EXPECT_FALSE(windows->panel()->isVisible());
}

} // namespace

} // namespace velto
