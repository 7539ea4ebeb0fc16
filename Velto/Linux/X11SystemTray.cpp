#include "Velto/Linux/X11SystemTray.h"

#include "Velto/Linux/X11Desktop.h"

#include <QCoreApplication>

#include <xcb/xcb.h>

#include <utility>

namespace velto {

X11SystemTray::X11SystemTray(std::function<void()> changed) : changed_(std::move(changed)) {
    xcb_connection_t* connection = x11Connection();
    if (!connection) return;
    selection_ = x11Atom(connection, "_NET_SYSTEM_TRAY_S0");
    manager_ = x11Atom(connection, "MANAGER");
    QCoreApplication::instance()->installNativeEventFilter(this);
    findWindow();
}

X11SystemTray::~X11SystemTray() {
    if (selection_ != 0) QCoreApplication::instance()->removeNativeEventFilter(this);
}

/// And asks to be told of the window's end.
void X11SystemTray::findWindow() {
    xcb_connection_t* connection = x11Connection();
    window_ = x11SelectionOwner(connection, selection_);
    if (window_ == 0) return;
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY; // as Qt's own trays ask for
    const X11Reply<xcb_generic_error_t> error(xcb_request_check(
        connection, xcb_change_window_attributes_checked(connection, window_, XCB_CW_EVENT_MASK, &events)));
    if (error) window_ = 0; // it has gone already
}

bool X11SystemTray::nativeEventFilter(const QByteArray& type, void* message, qintptr*) {
    if (type != "xcb_generic_event_t") return false;
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    switch (event->response_type & 0x7f) { // the highest bit says that a program has sent it
    case XCB_CLIENT_MESSAGE: {
        const auto* told = static_cast<const xcb_client_message_event_t*>(message);
        if (told->type != manager_ || told->data.data32[1] != selection_) break;
        findWindow();
        changed_();
        break;
    }
    case XCB_DESTROY_NOTIFY: {
        const auto* told = static_cast<const xcb_destroy_notify_event_t*>(message);
        if (window_ == 0 || told->window != window_) break;
        findWindow(); // another may have taken its place
        changed_();
        break;
    }
    default:
        break;
    }
    return false;
}

} // namespace velto
