#include "Velto/Shell/OnboardingWindowController.h"

namespace velto {

OnboardingWindowController::OnboardingWindowController(PreferencesManager& preferences,
                                                       const OnboardingWindowFactory& makeWindow)
    : preferences_(preferences),
      window_(makeWindow([this] { preferences_.hasCompletedOnboarding.set(true); })) {}

void OnboardingWindowController::show() {
    if (window_) window_->show();
}

} // namespace velto
