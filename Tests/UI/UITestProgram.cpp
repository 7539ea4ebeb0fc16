// The entry point of the UI tests: a screen, then Qt, then the tests. No bus, nobody's settings.
#include "Tests/UI/VirtualScreen.h"

#include <QGuiApplication>
#include <QQuickWindow>
#include <QStyleHints>

#include <gtest/gtest.h>

#include <cstdio>
#include <exception>

namespace velto {

namespace {

int runTests(int argumentCount, char** arguments) {
    const VirtualScreen screen;
    qputenv("DISPLAY", screen.display().c_str());
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("QT_QUICK_BACKEND", "software");
    qputenv("QT_QPA_UPDATE_IDLE_TIME", "0"); // a frame is drawn in the next turn of the loop
    qputenv("QML_DISABLE_DISK_CACHE", "1");
    qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "disabled:");
    qunsetenv("QT_QPA_PLATFORMTHEME");
    qunsetenv("XDG_CURRENT_DESKTOP");
    QQuickWindow::setDefaultAlphaBuffer(true);
    const QGuiApplication qt(argumentCount, arguments);
    QGuiApplication::setQuitOnLastWindowClosed(false);
    QGuiApplication::styleHints()->setCursorFlashTime(0);
    return RUN_ALL_TESTS();
}

} // namespace

} // namespace velto

int main(int argumentCount, char** arguments) {
    testing::InitGoogleTest(&argumentCount, arguments);
    if (GTEST_FLAG_GET(list_tests)) return RUN_ALL_TESTS();
    try {
        return velto::runTests(argumentCount, arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "velto-ui-tests: %s\n", error.what());
        return 1;
    }
}
