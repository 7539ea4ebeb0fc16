// Compiled into the module.
#include "Velto/Linux/DesktopModule.h"

#include "Velto/Linux/DisplayChoice.h"
#include "Velto/Linux/LinuxApplication.h"
#include "Velto/Linux/QtLoop.h"
#include "Velto/Linux/UserInterfaceModule.h"

#include <QGuiApplication>
#include <QSessionManager>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

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

/// The login item starts the program, so a session that is restored must not start it once more. That the
/// session is asked to end is no more than a question: another program may refuse.
void keepOutOfSavedSessions(QGuiApplication& qt) {
    const auto refuse = [](QSessionManager& session) {
        session.setRestartHint(QSessionManager::RestartNever);
    };
    QObject::connect(&qt, &QGuiApplication::commitDataRequest, &qt, refuse, Qt::DirectConnection);
    QObject::connect(&qt, &QGuiApplication::saveStateRequest, &qt, refuse, Qt::DirectConnection);
}

/// Tells Qt which display to take, and how large, until it has; programs that are started from here choose
/// for themselves. What the user has told it stands.
class ToldDisplay {
  public:
    explicit ToldDisplay(const DisplayChoice& choice) {
        tell("QT_QPA_PLATFORM", choice.platform);
        if (choice.scale > 1) tell("QT_SCALE_FACTOR", QByteArray::number(choice.scale));
    }
    ToldDisplay(const ToldDisplay&) = delete;
    ToldDisplay& operator=(const ToldDisplay&) = delete;
    ~ToldDisplay() {
        for (const char* name : told_)
            qunsetenv(name);
    }

  private:
    void tell(const char* name, const QByteArray& value) {
        if (value.isEmpty() || !qgetenv(name).isEmpty()) return;
        qputenv(name, value);
        told_.push_back(name);
    }

    std::vector<const char*> told_;
};

/// Made when the program asks for an obstacle, once for all that follows: it takes a connection to the
/// server.
DisplayChoice& displayChoice() {
    static DisplayChoice choice;
    return choice;
}

int runDesktop(const DesktopContext& context) {
    std::optional<ToldDisplay> display(displayChoice());
    QGuiApplication qt(context.argumentCount, context.arguments);
    display.reset();
    QGuiApplication::setApplicationName(QStringLiteral("Velto"));
    QGuiApplication::setDesktopFileName(QStringLiteral("com.corlent.velto"));
    QGuiApplication::setQuitOnLastWindowClosed(false);
    keepOutOfSavedSessions(qt);
    QtLoop loop(context.actor);

    const auto waitUntil = [&context](const std::function<bool()>& condition) {
        return context.actor.runUntil(condition, sessionEndPatience);
    };
    LinuxApplication application(context.delegate, context.host, loadUserInterface, waitUntil);
    const LostDisplay lostDisplay([&] { application.endNow(); });
    application.start(context.isHidden);
    if (context.isRaised) application.raiseOncePlaced();
    context.raisable([&application] { application.raise(); });
    const int status = QGuiApplication::exec();
    context.raisable({});
    return status;
}

} // namespace

} // namespace velto

[[gnu::visibility("default")]] const char* veltoDesktopObstacle() {
    velto::displayChoice() = velto::DisplayChoice::make();
    const std::string& obstacle = velto::displayChoice().obstacle;
    return obstacle.empty() ? nullptr : obstacle.c_str();
}

[[gnu::visibility("default")]] void veltoTryDesktop() {
    int argumentCount = 1;
    char name[] = "velto";
    char* arguments[] = {name, nullptr};
    const velto::ToldDisplay display(velto::displayChoice());
    const QGuiApplication qt(argumentCount, arguments);
}

[[gnu::visibility("default")]] int veltoRunDesktop(velto::DesktopContext* context) {
    return velto::runDesktop(*context);
}
