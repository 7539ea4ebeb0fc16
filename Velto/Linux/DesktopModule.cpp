// Compiled into the module.
#include "Velto/Linux/DesktopModule.h"

#include "Velto/Linux/LinuxApplication.h"
#include "Velto/Linux/QtLoop.h"
#include "Velto/Linux/UserInterfaceModule.h"

#include <QGuiApplication>
#include <QIcon>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <utility>

namespace velto {

namespace {

constexpr std::chrono::seconds sessionEndPatience{5};

/// What is still to be done when the display is lost: Qt ends the program by exit() then.
class LostDisplay {
  public:
    explicit LostDisplay(std::function<void()> action) {
        pending() = std::move(action);
        static const int registered = std::atexit([] {
            if (const auto action = std::exchange(pending(), {})) action();
        });
        static_cast<void>(registered);
    }
    LostDisplay(const LostDisplay&) = delete;
    LostDisplay& operator=(const LostDisplay&) = delete;
    ~LostDisplay() { pending() = {}; }

  private:
    static std::function<void()>& pending() {
        static std::function<void()> action;
        return action;
    }
};

int runDesktop(const DesktopContext& context) {
    QGuiApplication qt(context.argumentCount, context.arguments);
    QGuiApplication::setApplicationName(QStringLiteral("Velto"));
    QGuiApplication::setDesktopFileName(QStringLiteral("com.corlent.velto"));
    QGuiApplication::setWindowIcon(QIcon(QStringLiteral(":/velto/com.corlent.velto.svg")));
    QGuiApplication::setQuitOnLastWindowClosed(false);
    QtLoop loop(context.actor);

    LinuxApplication application(context.delegate, context.host, loadUserInterface);
    const auto waitUntil = [&context](const std::function<bool()>& condition) {
        return context.actor.runUntil(condition, sessionEndPatience);
    };
    QObject::connect(&qt, &QGuiApplication::commitDataRequest, &loop,
                     [&] { application.endSession(waitUntil); });
    const LostDisplay lostDisplay([&] { application.endWithoutDisplay(waitUntil); });
    application.start(context.isHidden);
    context.raisable([&application] { application.raise(); });
    const int status = QGuiApplication::exec();
    context.raisable({});
    return status;
}

} // namespace

} // namespace velto

[[gnu::visibility("default")]] void veltoTryDesktop() {
    int argumentCount = 1;
    char name[] = "velto";
    char* arguments[] = {name, nullptr};
    const QGuiApplication qt(argumentCount, arguments);
}

[[gnu::visibility("default")]] int veltoRunDesktop(velto::DesktopContext* context) {
    return velto::runDesktop(*context);
}
