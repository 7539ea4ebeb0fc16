// PanelMaterial: what makes a window the panel of a menu-bar program: the system's material behind it, and a
// place over all else.
#pragma once

namespace velto {

/// The view is a window's content, as an opaque handle (NSView). Puts the material below what the view draws,
/// with rounded corners of so many points, and lets the window stand over full-screen windows, on whichever
/// space is in front. Again only changes the corners. Main thread only.
void putPanelMaterial(void* contentView, double cornerRadius);

} // namespace velto
