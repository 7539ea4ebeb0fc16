// UserInterface: the program's windows, as the part of it that is always loaded sees them.
//
// Made at the first opening, so that a program whose panel was never opened doesn't carry what draws it.
// Owned by VeltoApplication; main actor only.
#pragma once

#include "Velto/Shell/AppState.h"
#include "Velto/Shell/OnboardingWindow.h"
#include "Velto/Shell/StatusItemViewModel.h"

#include <QRect>

#include <functional>
#include <memory>
#include <vector>

namespace velto {

class UserInterface {
  public:
    enum class PanelStyle {
        /// Drops from the status item and goes when something else is clicked.
        dropDown,
        /// An ordinary window with a frame, where there is no status item.
        window,
    };

    /// What the windows can't do by themselves. All must outlive them.
    struct Context {
        AppState& app;
        std::function<void()> requestQuit;
    };

    virtual ~UserInterface() = default;

    virtual void setPanelStyle(PanelStyle style) = 0;
    /// The status item's place on the screen; empty where that isn't known.
    virtual void showPanel(const QRect& statusItem) = 0;
    /// Hides it if it is shown. A click that has just hidden it, by taking its focus, doesn't show it again.
    virtual void togglePanel(const QRect& statusItem) = 0;
    virtual void showSettings() = 0;
    /// The status item's menu at its place, for desktops that show none. It goes when something is chosen, or
    /// when something else is clicked.
    virtual void showMenu(std::vector<StatusMenuEntry> entries, const QRect& statusItem) = 0;
    virtual std::unique_ptr<OnboardingWindow> makeOnboardingWindow(std::function<void()> closedHandler) = 0;
};

/// Throws std::runtime_error, with a sentence for the user, when the windows can't be had.
using UserInterfaceFactory = std::function<std::unique_ptr<UserInterface>(UserInterface::Context)>;

} // namespace velto
