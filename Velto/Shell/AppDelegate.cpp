#include "Velto/Shell/AppDelegate.h"

#include "VeltoCore/CoreAudio/ErrorConversion.h"
#include "VeltoCore/Services/LoggingService.h"

#include <utility>

namespace velto {

namespace {

constexpr const Logger& logger = LoggingService::lifecycle;

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
    onboardingController_.reset(); // closed by the program, the welcome was not seen
    appState_.beginTermination();
    tasks_.spawn(terminate());
    return *terminationReply_;
}

void AppDelegate::quit() {
    if (applicationShouldTerminate() == TerminationReply::later) return;
    whenNothingRuns([this] { appState_.host().replyToTermination(); });
}

void AppDelegate::whenNothingRuns(std::function<void()> action) {
    tasks_.spawn(performWhenNothingRuns(std::move(action)));
}

Task<void> AppDelegate::performWhenNothingRuns(std::function<void()> action) {
    co_await appState_.systemAudio().operationEnded();
    appState_.actor().post(std::move(action));
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
