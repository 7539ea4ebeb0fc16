// AppDelegate: starts the application and ends it, on the platform's word.
//
// Owned by the program's entry point; main actor only. It answers at once; what takes time runs as a task.
#pragma once

#include "Velto/Shell/AppState.h"
#include "Velto/Shell/OnboardingWindow.h"
#include "Velto/Shell/OnboardingWindowController.h"
#include "Velto/Shell/PlatformServices.h"
#include "VeltoCore/Async/Task.h"
#include "VeltoCore/Async/TaskScope.h"

#include <optional>

namespace velto {

class AppDelegate {
  public:
    enum class TerminationReply {
        /// The program may end now.
        now,
        /// The program ends once the host is told so by replyToTermination().
        later,
    };

    AppDelegate(PlatformServices platform, OnboardingWindowFactory makeOnboardingWindow);
    AppDelegate(const AppDelegate&) = delete;
    AppDelegate& operator=(const AppDelegate&) = delete;

    AppState& appState() noexcept { return appState_; }

    void applicationDidFinishLaunching();
    /// Every request to quit ends here. A second one starts nothing, and the host is told once.
    TerminationReply applicationShouldTerminate();
    /// Shows the welcome window; one that is open comes to the front.
    void showOnboarding();
    /// From the first request to quit on.
    bool isShuttingDown() const noexcept { return appState_.isShuttingDown(); }

  private:
    Task<void> launch();
    Task<void> terminate();
    bool mustCleanUpFirst();

    AppState appState_;
    OnboardingWindowFactory makeOnboardingWindow_;
    std::optional<OnboardingWindowController> onboardingController_;
    /// To the first request to quit, and to those after it; none before.
    std::optional<TerminationReply> terminationReply_;
    TaskScope tasks_; // dies first: its tasks use the others
};

} // namespace velto
