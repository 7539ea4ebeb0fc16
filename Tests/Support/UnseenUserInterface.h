// UnseenUserInterface: the program's windows, where only what is asked of them matters.
#pragma once

#include "Velto/Qt/UserInterface.h"

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace velto {

/// What was asked of the windows.
struct UnseenWindows {
    UserInterface::PanelStyle style = UserInterface::PanelStyle::dropDown;
    int panelsShown = 0;
    QRect place;
    int settingsShown = 0;
    std::vector<StatusMenuEntry> menu;
};

class UnseenUserInterface final : public UserInterface {
  public:
    explicit UnseenUserInterface(UnseenWindows& windows) : windows_(windows) {}

    void setPanelStyle(PanelStyle style) override { windows_.style = style; }
    void showPanel(const QRect& statusItem) override {
        ++windows_.panelsShown;
        windows_.place = statusItem;
    }
    void togglePanel(const QRect& statusItem) override { showPanel(statusItem); }
    void showSettings() override { ++windows_.settingsShown; }
    void showMenu(std::vector<StatusMenuEntry> entries, const QRect& statusItem) override {
        windows_.menu = std::move(entries);
        windows_.place = statusItem;
    }
    std::unique_ptr<OnboardingWindow> makeOnboardingWindow(std::function<void()>) override { return nullptr; }

  private:
    UnseenWindows& windows_;
};

} // namespace velto
