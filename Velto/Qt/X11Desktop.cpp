#include "Velto/Qt/X11Desktop.h"

#include <QGuiApplication>

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <string>

namespace velto {

namespace {

struct Freed {
    void operator()(void* reply) const noexcept { std::free(reply); }
};

/// Whether anybody owns the selection: so X11's compositors and trays make themselves known.
bool isOwned(xcb_connection_t* connection, const std::string& selection) {
    const auto question =
        xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(selection.size()), selection.c_str());
    const std::unique_ptr<xcb_intern_atom_reply_t, Freed> atom(
        xcb_intern_atom_reply(connection, question, nullptr));
    if (!atom) return false;
    const std::unique_ptr<xcb_get_selection_owner_reply_t, Freed> owner(
        xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, atom->atom), nullptr));
    return owner && owner->owner != XCB_WINDOW_NONE;
}

xcb_connection_t* x11Connection() {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

} // namespace

bool windowsAreBlended() {
    xcb_connection_t* connection = x11Connection();
    return !connection || isOwned(connection, "_NET_WM_CM_S0"); // only X11 may have no compositor
}

bool hasSystemTray() {
    xcb_connection_t* connection = x11Connection();
    return connection && isOwned(connection, "_NET_SYSTEM_TRAY_S0");
}

} // namespace velto
