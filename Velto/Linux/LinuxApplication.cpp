#include "Velto/Linux/LinuxApplication.h"

#include "Velto/Linux/DesktopStatusArea.h"
#include "Velto/Qt/Text.h"
#include "VeltoCore/Services/LoggingService.h"

#include <QClipboard>
#include <QGuiApplication>

#include <string_view>
#include <utility>

namespace velto {

LinuxApplication::LinuxApplication(AppDelegate& delegate, LinuxApplicationHost& host,
                                   UserInterfaceFactory makeUserInterface)
    : VeltoApplication(delegate, std::move(makeUserInterface)), host_(host) {
    host_.setHandlers(
        {.policyChanged = [this] { applyPanelStyle(); },
         .terminate =
             [this] {
                 isTerminated_ = true;
                 QCoreApplication::quit();
             },
         .copy = [](std::string_view text) { QGuiApplication::clipboard()->setText(toQString(text)); }});
}

LinuxApplication::~LinuxApplication() { host_.setHandlers({}); }

std::unique_ptr<StatusArea> LinuxApplication::makeStatusArea(std::function<void()> changed) {
    return std::make_unique<DesktopStatusArea>(std::move(changed));
}

void LinuxApplication::endSession(const WaitUntil& waitUntil) {
    requestQuit();
    if (!waitUntil([this] { return isTerminated_; }))
        LoggingService::ui.error("The session ended before all outputs were put back");
}

void LinuxApplication::endWithoutDisplay(const WaitUntil& waitUntil) {
    host_.setHandlers({.policyChanged = {}, .terminate = [this] { isTerminated_ = true; }, .copy = {}});
    endSession(waitUntil);
}

} // namespace velto
