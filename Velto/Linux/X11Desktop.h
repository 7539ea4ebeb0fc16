// What an X11 desktop has, as its programs make themselves known.
#pragma once

#include <QPoint>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>

class QWindow;
struct xcb_connection_t;

namespace velto {

/// Whether windows are blended with what lies behind them. True wherever there is no X11.
bool windowsAreBlended();

/// Where the pointer is, in the program's pixels; none where X11 doesn't know, as below a Wayland desktop.
std::optional<QPoint> x11Pointer();

/// Keeps the panel out of task bars and pagers. Before each time that it is shown.
void keepOutOfTaskBar(const QWindow& window);
/// Gives the frame that the desktop draws around the window its dark form, where it has one.
void setFrameIsDark(const QWindow& window, bool isDark);

/// The program's own connection to the server; null wherever there is no X11.
xcb_connection_t* x11Connection();
/// 0 when the server doesn't answer.
std::uint32_t x11Atom(xcb_connection_t* connection, const char* name);
/// The window that owns the selection; 0 for none. So compositors and trays make themselves known.
std::uint32_t x11SelectionOwner(xcb_connection_t* connection, std::uint32_t selection);

struct FreeX11Reply {
    void operator()(void* reply) const noexcept { std::free(reply); }
};
template <class Reply>
using X11Reply = std::unique_ptr<Reply, FreeX11Reply>;

} // namespace velto
