// The entry point on Linux: the platform's services, Qt's loop, and the application on them.
#include "Platform/Linux/FileUserDefaults.h"
#include "Platform/Linux/IcuTextCollation.h"
#include "Platform/Linux/JournalLogSink.h"
#include "Platform/Linux/LinuxMainActor.h"
#include "Platform/Linux/LogindSleepMonitor.h"
#include "Platform/Linux/PipeWire/PipeWireAudioClient.h"
#include "Platform/Linux/PipeWire/PipeWireAudioEngine.h"
#include "Platform/Linux/SingleInstance.h"
#include "Platform/Linux/TerminationSignals.h"
#include "Platform/Linux/XdgAutostart.h"
#include "Velto/Linux/LinuxApplication.h"
#include "Velto/Linux/QtLoop.h"
#include "Velto/Linux/UserInterfaceModule.h"
#include "Velto/Qt/QtApplicationHost.h"
#include "Velto/Shell/ProgramMain.h"
#include "VeltoCore/Services/LoggingService.h"

#include <QGuiApplication>
#include <QIcon>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace velto {

namespace {

constexpr std::chrono::seconds sessionEndPatience{5};

/// Without one Qt would end the program with a signal.
bool hasDisplay() {
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
           !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
}

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

int run(int argumentCount, char** arguments) {
    LinuxMainActor actor;
    TerminationSignals terminationSignals; // before any thread
    SingleInstance instance(FileUserDefaults::standardFile(), SingleInstance::runtimeFolder());
    if (!instance.isFirst()) {
        if (instance.raiseFirst()) return 0;
        std::fputs("velto: Velto is running already, but does not answer.\n", stderr);
        return 1;
    }
    if (!hasDisplay()) {
        std::fputs("velto: There is no display; start Velto from a desktop.\n", stderr);
        return 1;
    }
    JournalLogSink log(LogLevel::info);
    LoggingService::install(&log);
    for (const std::string& trouble : instance.troubles())
        LoggingService::lifecycle.error("{}", trouble);
    QGuiApplication qt(argumentCount, arguments);
    QGuiApplication::setApplicationName(QStringLiteral("Velto"));
    QGuiApplication::setDesktopFileName(QStringLiteral("com.corlent.velto"));
    QGuiApplication::setWindowIcon(QIcon(QStringLiteral(":/velto/com.corlent.velto.svg")));
    QGuiApplication::setQuitOnLastWindowClosed(false);
    QtLoop loop(actor);

    FileUserDefaults defaults(FileUserDefaults::standardFile(), actor);
    IcuTextCollation collation;
    XdgAutostart loginItems(XdgAutostart::runningProgram(), XdgAutostart::standardFile());
    LogindSleepMonitor sleep(actor);
    QtApplicationHost host(sleep);
    PlatformServices platform{.actor = actor,
                              .client = std::make_shared<PipeWireAudioClient>(actor, actor),
                              .defaults = defaults,
                              .collation = collation,
                              .loginItems = loginItems,
                              .host = host,
                              .makeAudioEngine = [&actor](CoreAudioClient& client) {
                                  return std::make_unique<PipeWireAudioEngine>(client, actor);
                              }};
    LinuxApplication application(std::move(platform), host, loadUserInterface);
    terminationSignals.observe(actor, [&application] { application.requestQuit(); });
    instance.observeRaise(actor, [&application] { application.raise(); });
    const auto waitUntil = [&actor](const std::function<bool()>& condition) {
        return actor.runUntil(condition, sessionEndPatience);
    };
    QObject::connect(&qt, &QGuiApplication::commitDataRequest, &loop,
                     [&] { application.endSession(waitUntil); });
    const LostDisplay lostDisplay([&] { application.endWithoutDisplay(waitUntil); });
    application.start();
    return QGuiApplication::exec();
}

} // namespace

} // namespace velto

int main(int argumentCount, char** arguments) {
    return velto::programMain("velto", [&] { return velto::run(argumentCount, arguments); });
}
