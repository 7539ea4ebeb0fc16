// OnboardingWindowController: welcomes the user once.
//
// Owned by AppDelegate from the first showing to the end of the program; main actor only. However the window
// is closed, the welcome is done then.
#pragma once

#include "Velto/Shell/OnboardingWindow.h"
#include "VeltoCore/Services/PlatformWords.h"
#include "VeltoCore/Settings/PreferencesManager.h"

#include <memory>
#include <string>
#include <string_view>

namespace velto {

class OnboardingWindowController {
  public:
    static constexpr std::string_view title = "Welcome to Velto";
    static std::string message(const PlatformWords& words);
    /// Where there is none that could be clicked.
    static std::string messageWithoutStatusItem();
    /// The one button; it closes the window.
    static constexpr std::string_view buttonTitle = "Continue";

    /// The preferences must outlive the controller.
    OnboardingWindowController(PreferencesManager& preferences, const OnboardingWindowFactory& makeWindow);
    OnboardingWindowController(const OnboardingWindowController&) = delete;
    OnboardingWindowController& operator=(const OnboardingWindowController&) = delete;

    /// Presents the window; one that is open comes to the front.
    void show();

  private:
    PreferencesManager& preferences_;
    std::unique_ptr<OnboardingWindow> window_;
};

} // namespace velto
