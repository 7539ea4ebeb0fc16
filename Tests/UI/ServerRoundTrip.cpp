#include "Tests/UI/ServerRoundTrip.h"

#include <QGuiApplication>

#include <xcb/xcb.h>

#include <cstdlib>

namespace velto {

void awaitServer() {
    xcb_connection_t* connection =
        qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
    std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
}

} // namespace velto
