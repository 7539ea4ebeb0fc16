// WindowDressing: what windows have on the Mac that only its own frameworks can give them.
//
// The view is a window's content, as an opaque handle (NSView). Main thread only. Again does no harm.
#pragma once

namespace velto {

/// What makes a window the panel of a menu-bar program: the system's material below what the view draws, with
/// corners of so many points, and a place over full-screen windows, on whichever space is in front.
void dressAsPanel(void* contentView, double cornerRadius);

/// The content reaches up under a title bar that is transparent, and moves the window where it is dragged.
void extendUnderTitleBar(void* contentView);

} // namespace velto
