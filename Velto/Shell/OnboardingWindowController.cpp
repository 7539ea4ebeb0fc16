#include "Velto/Shell/OnboardingWindowController.h"

#include <fmt/format.h>

namespace velto {

OnboardingWindowController::OnboardingWindowController(PreferencesManager& preferences,
                                                       const OnboardingWindowFactory& makeWindow)
    : preferences_(preferences),
      window_(makeWindow([this] { preferences_.hasCompletedOnboarding.set(true); })) {}

std::string OnboardingWindowController::message(const PlatformWords& words) {
    return fmt::format("Velto lives in the {}. Click its icon whenever you want to play together.",
                       words.statusArea);
}

std::string OnboardingWindowController::messageWithoutStatusItem() {
    return "Velto plays on when its window is closed. Start it again whenever you want the window back.";
}

void OnboardingWindowController::show() {
    if (window_) window_->show();
}

} // namespace velto
