#include "Velto/Linux/LinuxApplication.h"

#include "Velto/Linux/DesktopStatusArea.h"
#include "VeltoCore/Services/LoggingService.h"

#include <QCoreApplication>

#include <utility>

namespace velto {

LinuxApplication::LinuxApplication(PlatformServices platform, QtApplicationHost& host,
                                   UserInterfaceFactory makeUserInterface)
    : VeltoApplication(std::move(platform), std::move(makeUserInterface)), host_(host) {
    host_.setHandlers({.policyChanged =
                           [this](ApplicationHost::ActivationPolicy policy) {
                               policy_ = policy;
                               applyPanelStyle();
                           },
                       .activate = {},
                       .terminate =
                           [this] {
                               isTerminated_ = true;
                               QCoreApplication::quit();
                           }});
}

LinuxApplication::~LinuxApplication() { host_.setHandlers({}); }

std::unique_ptr<StatusArea> LinuxApplication::makeStatusArea(std::function<void()> changed) {
    return std::make_unique<DesktopStatusArea>(std::move(changed));
}

void LinuxApplication::requestQuit() {
    if (delegate().applicationShouldTerminate() == AppDelegate::TerminationReply::later) return;
    whenNothingRuns([this] { host_.replyToTermination(); });
}

void LinuxApplication::endSession(const WaitUntil& waitUntil) {
    requestQuit();
    if (!waitUntil([this] { return isTerminated_; }))
        LoggingService::ui.error("The session ended before all outputs were put back");
}

void LinuxApplication::endWithoutDisplay(const WaitUntil& waitUntil) {
    host_.setHandlers({.policyChanged = {}, .activate = {}, .terminate = [this] { isTerminated_ = true; }});
    endSession(waitUntil);
}

} // namespace velto
