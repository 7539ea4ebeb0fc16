// AppDelegate: starts the application and ends it, on the platform's word.
//
// Owned by the program's entry point; main actor only. It answers at once; what takes time runs as a task.
// Windows may come while it runs, and go before it does: it makes none before they are offered.
#pragma once

#include "Velto/Shell/AppState.h"
#include "Velto/Shell/OnboardingWindow.h"
#include "Velto/Shell/OnboardingWindowController.h"
#include "Velto/Shell/PlatformServices.h"
#include "VeltoCore/Async/Task.h"
#include "VeltoCore/Async/TaskScope.h"

#include <functional>
#include <memory>
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

    explicit AppDelegate(PlatformServices platform);
    AppDelegate(const AppDelegate&) = delete;
    AppDelegate& operator=(const AppDelegate&) = delete;

    AppState& appState() noexcept { return appState_; }

    void applicationDidFinishLaunching();
    /// There are windows from now on: who hasn't been welcomed is, once the launch is done.
    void offerWindows(OnboardingWindowFactory makeOnboardingWindow);
    /// Before what makes the windows goes.
    void withdrawWindows();
    /// Every request to quit ends here. A second one starts nothing, and the host is told once.
    TerminationReply applicationShouldTerminate();
    /// For platforms where nobody else ends the program: asks the same, and has the host end it in time.
    void quit();
    /// Calls it in a later turn, once what was begun, and what may still be under way, such as the clean-up
    /// after an earlier run, is done.
    void whenNothingRuns(std::function<void()> action);
    /// Shows the welcome window, where there are windows; one that is open comes to the front.
    void showOnboarding();
    /// From the first request to quit on.
    bool isShuttingDown() const noexcept { return appState_.isShuttingDown(); }

  private:
    Task<void> launch();
    void welcome();
    Task<void> terminate();
    Task<void> performWhenNothingRuns(std::function<void()> action);
    bool mustCleanUpFirst();

    AppState appState_;
    OnboardingWindowFactory makeOnboardingWindow_; // none without windows
    std::optional<OnboardingWindowController> onboardingController_;
    /// To the first request to quit, and to those after it; none before.
    std::optional<TerminationReply> terminationReply_;
    TaskScope tasks_; // dies first: its tasks use the others
};

} // namespace velto
