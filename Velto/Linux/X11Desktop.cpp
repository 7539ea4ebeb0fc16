#include "Velto/Linux/X11Desktop.h"

#include <QCursor>
#include <QGuiApplication>
#include <QWindow>

#include <xcb/xcb.h>

#include <array>
#include <cstring>
#include <string_view>

namespace velto {

bool windowsAreBlended() {
    xcb_connection_t* connection = x11Connection();
    if (!connection) return true; // only X11 may have no compositor
    return x11SelectionOwner(connection, x11Atom(connection, "_NET_WM_CM_S0")) != 0;
}

std::optional<QPoint> x11Pointer() {
    if (!x11Connection() || qEnvironmentVariableIsSet("WAYLAND_DISPLAY")) return std::nullopt;
    return QCursor::pos();
}

void keepOutOfTaskBar(const QWindow& window) {
    xcb_connection_t* connection = x11Connection();
    if (!connection) return;
    const std::array states{x11Atom(connection, "_NET_WM_STATE_SKIP_TASKBAR"),
                            x11Atom(connection, "_NET_WM_STATE_SKIP_PAGER")};
    // Window managers take it from a window that is hidden; Qt adds its own to what it finds.
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, static_cast<xcb_window_t>(window.winId()),
                        x11Atom(connection, "_NET_WM_STATE"), XCB_ATOM_ATOM, 32, states.size(),
                        states.data());
}

void setFrameIsDark(const QWindow& window, bool isDark) {
    xcb_connection_t* connection = x11Connection();
    if (!connection) return;
    const std::string_view variant = isDark ? "dark" : "light";
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, static_cast<xcb_window_t>(window.winId()),
                        x11Atom(connection, "_GTK_THEME_VARIANT"), x11Atom(connection, "UTF8_STRING"), 8,
                        static_cast<std::uint32_t>(variant.size()), variant.data());
}

xcb_connection_t* x11Connection() {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

std::uint32_t x11Atom(xcb_connection_t* connection, const char* name) {
    const auto question = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(std::strlen(name)), name);
    const X11Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, question, nullptr));
    return reply ? reply->atom : 0;
}

std::uint32_t x11SelectionOwner(xcb_connection_t* connection, std::uint32_t selection) {
    const auto question = xcb_get_selection_owner(connection, selection);
    const X11Reply<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(connection, question, nullptr));
    return reply ? reply->owner : 0;
}

} // namespace velto
