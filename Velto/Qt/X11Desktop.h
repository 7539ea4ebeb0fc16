// What an X11 desktop has, as its programs make themselves known.
#pragma once

namespace velto {

/// Whether windows are blended with what lies behind them. True wherever there is no X11.
bool windowsAreBlended();
/// Whether there is an XEmbed tray now.
bool hasSystemTray();

} // namespace velto
