// The entry point on the Mac: the platform's services, Qt's loop, and the application on them.
#include "Platform/macOS/AVFAudioEngine.h"
#include "Platform/macOS/AppKitApplicationHost.h"
#include "Platform/macOS/DispatchMainActor.h"
#include "Platform/macOS/DispatchTerminationSignals.h"
#include "Platform/macOS/FoundationTextCollation.h"
#include "Platform/macOS/FoundationUserDefaults.h"
#include "Platform/macOS/MainAppLoginItem.h"
#include "Platform/macOS/RunningInstance.h"
#include "Platform/macOS/TerminationDelegate.h"
#include "Platform/macOS/UnifiedLogSink.h"
#include "Velto/Qt/QuickUserInterface.h"
#include "Velto/Shell/AppDelegate.h"
#include "Velto/Shell/ProgramMain.h"
#include "Velto/macOS/MacApplication.h"
#include "VeltoCore/CoreAudio/SystemCoreAudioClient.h"
#include "VeltoCore/Services/LoggingService.h"

#include <QGuiApplication>
#include <QQuickWindow>

#include <memory>
#include <utility>

namespace velto {

namespace {

int run(int argumentCount, char** arguments) {
    if (handOverToRunningInstance()) return 0;
    UnifiedLogSink log;
    LoggingService::install(&log);
    TerminationDelegate termination; // before Qt, which keeps the delegate that is there
    // Qt would take the keyboard from whoever is typing when the program starts.
    qputenv("QT_MAC_DISABLE_FOREGROUND_APPLICATION_TRANSFORM", "1");
    QQuickWindow::setDefaultAlphaBuffer(true);
    QGuiApplication qt(argumentCount, arguments);
    QGuiApplication::setApplicationName(QStringLiteral("Velto"));
    QGuiApplication::setQuitOnLastWindowClosed(false);

    DispatchMainActor actor;
    FoundationUserDefaults defaults;
    FoundationTextCollation collation;
    MainAppLoginItem loginItems;
    AppKitApplicationHost host;
    PlatformServices platform{
        .actor = actor,
        .client = std::make_shared<SystemCoreAudioClient>(),
        .defaults = defaults,
        .collation = collation,
        .loginItems = loginItems,
        .host = host,
        .makeAudioEngine = [](CoreAudioClient&) { return std::make_unique<AVFAudioEngine>(); }};
    AppDelegate delegate(std::move(platform));
    MacApplication application(delegate, termination, [](UserInterface::Context context) {
        return std::make_unique<QuickUserInterface>(std::move(context));
    });
    const DispatchTerminationSignals terminationSignals([&application] { application.requestQuit(); });
    const HandOverObserver handOver([&application] { application.raise(); });
    delegate.applicationDidFinishLaunching();
    application.start();
    return QGuiApplication::exec();
}

} // namespace

} // namespace velto

int main(int argumentCount, char** arguments) {
    return velto::programMain("Velto", [&] { return velto::run(argumentCount, arguments); });
}
