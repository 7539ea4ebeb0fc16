#include "Velto/macOS/MacApplication.h"

#include "Velto/macOS/MenuBarStatusArea.h"

#include <utility>

namespace velto {

MacApplication::MacApplication(AppDelegate& delegate, TerminationDelegate& termination,
                               UserInterfaceFactory makeUserInterface)
    : VeltoApplication(delegate, std::move(makeUserInterface)), termination_(termination) {
    termination_.setHandlers(
        {.shouldTerminate = [this] { return shouldTerminate(); }, .reopened = [this] { raise(); }});
}

MacApplication::~MacApplication() { termination_.setHandlers({}); }

std::unique_ptr<StatusArea> MacApplication::makeStatusArea(std::function<void()>) {
    return std::make_unique<MenuBarStatusArea>(); // it never changes
}

void MacApplication::requestQuit() { termination_.requestTermination(); }

TerminationDelegate::Reply MacApplication::shouldTerminate() {
    using Reply = TerminationDelegate::Reply;
    AppState& app = delegate().appState();
    if (delegate().applicationShouldTerminate() == AppDelegate::TerminationReply::later) return Reply::later;
    if (!app.systemAudio().isOperationRunning()) return Reply::now;
    // The clean-up after an earlier run: to end in the middle of it would leave the outputs as they are.
    delegate().whenNothingRuns([&app] { app.host().replyToTermination(); });
    return Reply::later;
}

} // namespace velto
