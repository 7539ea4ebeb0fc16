// WindowDressing: what windows have on the Mac that only its own frameworks can give them.
//
// The view is a window's content, as an opaque handle (NSView). Main thread only. Again does no harm.
#pragma once

#include <functional>
#include <memory>

namespace velto {

/// What makes a window the panel of a menu-bar program: the system's material below what the view draws, with
/// corners of so many points, and a place over full-screen windows, on whichever space is in front.
void dressAsPanel(void* contentView, double cornerRadius);

/// The content reaches up under a title bar that is transparent.
void extendUnderTitleBar(void* contentView);

/// Tells of every click on something of another program, for as long as it lives. Not every such click makes
/// the program inactive: those on the rest of the menu bar don't. The handler must not end it.
class ClicksOutside {
  public:
    explicit ClicksOutside(std::function<void()> clicked);
    ClicksOutside(const ClicksOutside&) = delete;
    ClicksOutside& operator=(const ClicksOutside&) = delete;
    ~ClicksOutside();

  private:
    struct Monitor;
    std::unique_ptr<Monitor> monitor_;
};

} // namespace velto
