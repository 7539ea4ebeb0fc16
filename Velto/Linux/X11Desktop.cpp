#include "Velto/Linux/X11Desktop.h"

#include <QGuiApplication>

#include <xcb/xcb.h>

#include <cstring>

namespace velto {

bool windowsAreBlended() {
    xcb_connection_t* connection = x11Connection();
    if (!connection) return true; // only X11 may have no compositor
    return x11SelectionOwner(connection, x11Atom(connection, "_NET_WM_CM_S0")) != 0;
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
