// The entry point on Linux: the platform's services, and the application on them, on a desktop or without
// one.
#include "Platform/Linux/FileUserDefaults.h"
#include "Platform/Linux/IcuTextCollation.h"
#include "Platform/Linux/JournalLogSink.h"
#include "Platform/Linux/LinuxApplicationHost.h"
#include "Platform/Linux/LinuxMainActor.h"
#include "Platform/Linux/LogindSleepMonitor.h"
#include "Platform/Linux/PipeWire/PipeWireAudioClient.h"
#include "Platform/Linux/PipeWire/PipeWireAudioEngine.h"
#include "Platform/Linux/SingleInstance.h"
#include "Platform/Linux/TerminationSignals.h"
#include "Platform/Linux/XdgAutostart.h"
#include "Velto/Linux/DesktopModule.h"
#include "Velto/Linux/ProgramModule.h"
#include "Velto/Shell/AppDelegate.h"
#include "Velto/Shell/ProgramMain.h"
#include "VeltoCore/Services/LoggingService.h"

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace velto {

namespace {

/// Without one Qt would end the program with a signal.
bool hasDisplay() {
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        if (const char* value = std::getenv(name); value && *value) return true;
    return false;
}

int run(int argumentCount, char** arguments) {
    const bool isBackground = argumentCount > 1 && std::string_view(arguments[1]) == "--background";
    LinuxMainActor actor;
    TerminationSignals terminationSignals; // before any thread
    SingleInstance instance(FileUserDefaults::standardFile(), SingleInstance::runtimeFolder());
    if (!instance.isFirst()) {
        if (instance.raiseFirst()) return 0;
        std::fputs("velto: Velto is running already, but does not answer.\n", stderr);
        return 1;
    }
    const bool hasWindows = !isBackground && hasDisplay();
    if (!hasWindows && !isBackground)
        std::fputs("velto: There is no display; Velto runs without windows.\n", stderr);
    JournalLogSink log(LogLevel::info);
    LoggingService::install(&log);
    for (const std::string& trouble : instance.troubles())
        LoggingService::lifecycle.error("{}", trouble);

    FileUserDefaults defaults(FileUserDefaults::standardFile(), actor);
    IcuTextCollation collation;
    XdgAutostart loginItems(XdgAutostart::runningProgram(), XdgAutostart::standardFile());
    LogindSleepMonitor sleep(actor);
    LinuxApplicationHost host(sleep);
    AppDelegate delegate({.actor = actor,
                          .client = std::make_shared<PipeWireAudioClient>(actor, actor),
                          .defaults = defaults,
                          .collation = collation,
                          .loginItems = loginItems,
                          .host = host,
                          .makeAudioEngine = [&actor](CoreAudioClient& client) {
                              return std::make_unique<PipeWireAudioEngine>(client, actor);
                          }});
    terminationSignals.observe(actor, [&delegate] { delegate.quit(); });
    std::function<void()> raise; // none without windows
    instance.observeRaise(actor, [&raise] {
        if (raise) raise();
    });
    host.setHandlers({.policyChanged = {}, .terminate = [&actor] { actor.quit(); }, .copy = {}});
    delegate.applicationDidFinishLaunching();
    if (!hasWindows) {
        actor.run();
        return 0;
    }
    DesktopContext context{
        .actor = actor,
        .host = host,
        .delegate = delegate,
        .raisable = [&raise](std::function<void()> handler) { raise = std::move(handler); },
        .argumentCount = argumentCount,
        .arguments = arguments};
    const auto runDesktop =
        reinterpret_cast<decltype(&veltoRunDesktop)>(programSymbol("velto-desktop", "veltoRunDesktop"));
    return runDesktop(&context);
}

} // namespace

} // namespace velto

int main(int argumentCount, char** arguments) {
    return velto::programMain("velto", [&] { return velto::run(argumentCount, arguments); });
}
