#include "Tests/Desktop/DesktopTest.h"

#include "Tools/SoundLab/PrivateBus.h"

#include <QDeadlineTimer>
#include <QGuiApplication>
#include <QTimer>

#include <gmock/gmock.h>

#include <chrono>
#include <exception>
#include <iostream>

namespace velto {

bool runUntil(const std::function<bool()>& condition, std::chrono::milliseconds patience) {
    const QDeadlineTimer deadline(patience);
    QTimer wakeUp; // or the loop would wait for something to happen even after that
    wakeUp.setTimerType(Qt::PreciseTimer);
    wakeUp.start(patience);
    while (!condition()) {
        if (deadline.hasExpired()) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    return true;
}

} // namespace velto

int main(int argumentCount, char** arguments) {
    testing::InitGoogleMock(&argumentCount, arguments);
    if (GTEST_FLAG_GET(list_tests)) return RUN_ALL_TESTS();
    try {
        const velto::PrivateBus sessionBus;
        qputenv("DBUS_SESSION_BUS_ADDRESS", sessionBus.address().c_str());
        qputenv("QT_QPA_PLATFORM", "offscreen");
        const QGuiApplication application(argumentCount, arguments);
        return RUN_ALL_TESTS();
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
