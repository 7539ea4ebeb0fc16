// The entry point on the Mac: runs the program, on the platform's services and Qt's loop, or asks the one
// that runs.
#include "Platform/POSIX/DetachedProgram.h"
#include "Platform/POSIX/LineServer.h"
#include "Platform/POSIX/SingleInstance.h"
#include "Platform/POSIX/StandardStreams.h"
#include "Platform/macOS/AVFAudioEngine.h"
#include "Platform/macOS/AppKitApplicationHost.h"
#include "Platform/macOS/DispatchFileDescriptorWatcher.h"
#include "Platform/macOS/DispatchMainActor.h"
#include "Platform/macOS/DispatchTerminationSignals.h"
#include "Platform/macOS/FoundationTextCollation.h"
#include "Platform/macOS/FoundationUserDefaults.h"
#include "Platform/macOS/MainAppLoginItem.h"
#include "Platform/macOS/ProgramPlaces.h"
#include "Platform/macOS/TerminationDelegate.h"
#include "Platform/macOS/UnifiedLogSink.h"
#include "Platform/macOS/UserNotifications.h"
#include "Velto/Commands/CommandEntry.h"
#include "Velto/Commands/CommandService.h"
#include "Velto/Qt/QuickUserInterface.h"
#include "Velto/Shell/AppDelegate.h"
#include "Velto/Shell/ProgramMain.h"
#include "Velto/macOS/MacApplication.h"
#include "VeltoCore/CoreAudio/SystemCoreAudioClient.h"
#include "VeltoCore/Services/LoggingService.h"

#include <QGuiApplication>
#include <QQuickWindow>

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace velto {

namespace {

CommandClient makeClient() {
    return {[] { return SingleInstance::socketsOfFirst({ProgramPlaces::lockFile()}); },
            [] { startDetached(std::filesystem::canonical(ProgramPlaces::calledProgram()), {"--hidden"}); }};
}

/// Another one runs already: it shows itself, as far as this one was to.
int raiseFirst(bool isToShow) {
    try {
        if (isToShow) makeClient().raise({});
        return 0;
    } catch (const CommandFailure& failure) {
        std::fprintf(stderr, "velto: %s\n", failure.what());
        return 1;
    }
}

/// The system gives a program that is opened no room for as many clients as may be served at a time.
void makeRoomForClients() {
    constexpr rlim_t wanted = 1024;
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= wanted) return;
    limit.rlim_cur = std::min(wanted, limit.rlim_max);
    setrlimit(RLIMIT_NOFILE, &limit);
}

/// By a link the program is not known as its bundle's; it goes on as what the link leads to.
void leaveLink(char** arguments) {
    const std::filesystem::path program = ProgramPlaces::calledProgram();
    if (std::filesystem::is_symlink(program)) execv(std::filesystem::canonical(program).c_str(), arguments);
}

void prepareQt() {
    // Qt would take the keyboard from whoever is typing when the program starts.
    qputenv("QT_MAC_DISABLE_FOREGROUND_APPLICATION_TRANSFORM", "1");
    QQuickWindow::setDefaultAlphaBuffer(true);
    QGuiApplication::setApplicationName(QStringLiteral("Velto"));
    QGuiApplication::setQuitOnLastWindowClosed(false);
}

CommandService::Program programOf(MacApplication& application) {
    const auto raise = [&application](const auto&) {
        application.raise();
        return true;
    };
    return {.quit = [&application] { application.requestQuit(); }, .raise = raise};
}

int runProgram(const CommandLine& line, int& argumentCount, char** arguments) {
    leaveLink(arguments);
    const SingleInstance instance({ProgramPlaces::lockFile()});
    if (!instance.isFirst()) return raiseFirst(!line.isBackground && !line.isHidden);
    makeRoomForClients();
    UnifiedLogSink log;
    LoggingService::install(&log);
    for (const std::string& trouble : instance.troubles())
        LoggingService::lifecycle.error("{}", trouble);
    TerminationDelegate termination; // before Qt, which keeps the delegate that is there
    prepareQt();
    const QGuiApplication qt(argumentCount, arguments);

    DispatchMainActor actor;
    FoundationUserDefaults defaults;
    FoundationTextCollation collation;
    MainAppLoginItem loginItems;
    AppKitApplicationHost host;
    UserNotifications notifications;
    PlatformServices platform{
        .actor = actor,
        .client = std::make_shared<SystemCoreAudioClient>(),
        .defaults = defaults,
        .collation = collation,
        .loginItems = loginItems,
        .host = host,
        .notifications = notifications,
        .makeAudioEngine = [](CoreAudioClient&) { return std::make_unique<AVFAudioEngine>(); }};
    AppDelegate delegate(std::move(platform));
    MacApplication application(delegate, termination, [](UserInterface::Context context) {
        return std::make_unique<QuickUserInterface>(std::move(context));
    });
    const DispatchTerminationSignals terminationSignals([&application] { application.requestQuit(); });
    CommandService commands(delegate.appState(), programOf(application));
    DispatchFileDescriptorWatcher watcher;
    LineServer server(watcher, actor, CommandService::greeting(),
                      [&commands](LineClient& client) { return commands.converse(client); });
    if (instance.listener() >= 0) server.listen(instance.listener());
    delegate.applicationDidFinishLaunching();
    if (!line.isBackground) application.start(line.isHidden);
    return QGuiApplication::exec();
}

int run(int& argumentCount, char** arguments) {
    const auto program = [&](const CommandLine& line) { return runProgram(line, argumentCount, arguments); };
    return runWords(std::vector<std::string>(arguments + 1, arguments + argumentCount),
                    {program, makeClient});
}

} // namespace

} // namespace velto

int main(int argumentCount, char** arguments) {
    velto::openStandardStreams();
    return velto::programMain("velto", [&] { return velto::run(argumentCount, arguments); });
}
