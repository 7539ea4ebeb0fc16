#include "Velto/Shell/AppDelegate.h"

#include "VeltoCore/CoreAudio/ErrorConversion.h"
#include "VeltoCore/Services/LoggingService.h"

#include <chrono>
#include <utility>

namespace velto {

namespace {

constexpr const Logger& logger = LoggingService::lifecycle;

/// How often the end asks whether all is done.
constexpr std::chrono::milliseconds operationPoll{10};

} // namespace

AppDelegate::AppDelegate(PlatformServices platform)
    : appState_(std::move(platform)), tasks_(appState_.actor()) {}

// Launching

void AppDelegate::applicationDidFinishLaunching() {
    appState_.host().setActivationPolicy(ApplicationHost::ActivationPolicy::accessory);
    tasks_.spawn(launch());
}

Task<void> AppDelegate::launch() {
    co_await appState_.launch();
    welcome();
}

void AppDelegate::offerWindows(OnboardingWindowFactory makeOnboardingWindow) {
    makeOnboardingWindow_ = std::move(makeOnboardingWindow);
    if (appState_.isLaunched()) welcome();
}

void AppDelegate::withdrawWindows() {
    onboardingController_.reset();
    makeOnboardingWindow_ = {};
}

void AppDelegate::welcome() {
    if (!makeOnboardingWindow_ || isShuttingDown() || appState_.preferences().hasCompletedOnboarding())
        return;
    appState_.host().activateIgnoringOtherApplications();
    showOnboarding();
}

void AppDelegate::showOnboarding() {
    if (!makeOnboardingWindow_) return;
    if (!onboardingController_) onboardingController_.emplace(appState_.preferences(), makeOnboardingWindow_);
    onboardingController_->show();
}

// Ending

AppDelegate::TerminationReply AppDelegate::applicationShouldTerminate() {
    if (terminationReply_) return *terminationReply_;
    terminationReply_ = mustCleanUpFirst() ? TerminationReply::later : TerminationReply::now;
    appState_.beginTermination();
    tasks_.spawn(terminate());
    return *terminationReply_;
}

void AppDelegate::quit() {
    if (applicationShouldTerminate() == TerminationReply::later) return;
    whenNothingRuns([this] { appState_.host().replyToTermination(); });
}

void AppDelegate::whenNothingRuns(std::function<void()> action) {
    MainActor& actor = appState_.actor();
    actor.post([this, &actor, action = std::move(action)]() mutable {
        if (appState_.systemAudio().isOperationRunning()) {
            actor.postAfter(operationPoll, [this, action = std::move(action)]() mutable {
                whenNothingRuns(std::move(action));
            });
        } else {
            actor.post(std::move(action));
        }
    });
}

bool AppDelegate::mustCleanUpFirst() {
    const DualOutputCoordinator& coordinator = appState_.coordinator();
    return coordinator.state().isActive() || coordinator.state().isBusy() || coordinator.isReconnecting();
}

Task<void> AppDelegate::terminate() {
    try {
        co_await appState_.prepareForTermination();
    } catch (...) { // the program must end all the same
        logger.error("Could not end in good order: {}", currentErrorDescription());
    }
    if (std::exchange(terminationReply_, TerminationReply::now) == TerminationReply::later)
        appState_.host().replyToTermination();
}

} // namespace velto
