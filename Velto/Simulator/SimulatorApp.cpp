// The simulator's entry point: Velto on a simulated computer, and a second window to play the world in.
#include "Platform/Linux/IcuTextCollation.h"
#include "Platform/Linux/JournalLogSink.h"
#include "Platform/Linux/LinuxMainActor.h"
#include "Platform/Linux/TerminationSignals.h"
#include "Velto/Linux/LinuxApplication.h"
#include "Velto/Linux/QtLoop.h"
#include "Velto/Qt/QuickUserInterface.h"
#include "Velto/Shell/ProgramMain.h"
#include "Velto/Simulator/DeviceBench.h"
#include "Velto/Simulator/DeviceBenchAdapter.h"
#include "Velto/Simulator/SimulatedComputer.h"
#include "VeltoCore/Services/LoggingService.h"

#include <QGuiApplication>
#include <QIcon>

#include <chrono>
#include <memory>

namespace velto {

namespace {

int run(int argumentCount, char** arguments) {
    LinuxMainActor actor;
    TerminationSignals terminationSignals; // before any thread
    JournalLogSink log(LogLevel::info, JournalLogSink::Destination::standardError);
    LoggingService::install(&log);
    if (!qEnvironmentVariableIsSet("QT_QUICK_BACKEND")) qputenv("QT_QUICK_BACKEND", "software");
    QQuickWindow::setDefaultAlphaBuffer(true);
    QGuiApplication qt(argumentCount, arguments);
    QGuiApplication::setApplicationName(QStringLiteral("Velto Simulator"));
    QGuiApplication::setWindowIcon(QIcon(QStringLiteral(":/velto/com.corlent.velto.svg")));
    QGuiApplication::setQuitOnLastWindowClosed(false);
    QtLoop loop(actor);

    IcuTextCollation collation;
    SimulatedComputer computer(actor, collation);
    computer.plugUsualDevices();
    DeviceBench bench(computer);
    DeviceBenchAdapter adapter(bench);
    QuickUserInterface* windows = nullptr;
    AppDelegate delegate(computer.platform());
    const auto makeWindows = [&](UserInterface::Context context) {
        auto made = std::make_unique<QuickUserInterface>(std::move(context));
        windows = made.get();
        return made;
    };
    LinuxApplication application(delegate, computer.host(), makeWindows, [&](const auto& condition) {
        return actor.runUntil(condition, std::chrono::seconds(5));
    });
    terminationSignals.observe(actor, [&application] { application.requestQuit(); });
    delegate.applicationDidFinishLaunching();
    application.start();
    application.raise();
    const std::unique_ptr<QQuickWindow> benchWindow =
        windows->make(QStringLiteral("Bench/DeviceBenchWindow"), {{"bench", QVariant::fromValue(&adapter)}});
    benchWindow->show();
    return QGuiApplication::exec();
}

} // namespace

} // namespace velto

int main(int argumentCount, char** arguments) {
    return velto::programMain("velto-simulator", [&] { return velto::run(argumentCount, arguments); });
}
