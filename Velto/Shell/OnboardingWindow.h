// OnboardingWindow: the welcome window, as the user interface provides it.
//
// It is titled and closable, neither resizable nor to be miniaturised, its title bar transparent over the
// content, movable by its background. What it says stands in OnboardingWindowController.
#pragma once

#include <functional>
#include <memory>

namespace velto {

class OnboardingWindow {
  public:
    /// Closes without calling the handler.
    virtual ~OnboardingWindow() = default;
    /// Opens the window in the middle of the screen, or finds the open one; it gets the keyboard and comes to
    /// the front.
    virtual void show() = 0;
    /// As its close box does. Nothing when it isn't open.
    virtual void close() = 0;
};

/// Makes a window that is not open yet. It calls the handler each time it was closed, whichever way; it may
/// not be destroyed from there. None when windows can't be had at all.
using OnboardingWindowFactory =
    std::function<std::unique_ptr<OnboardingWindow>(std::function<void()> closedHandler)>;

} // namespace velto
