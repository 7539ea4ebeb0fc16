#include "Velto/Linux/TrayStatusItem.h"

#include "Velto/Linux/X11Desktop.h"
#include "Velto/Qt/SymbolImage.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QPalette>
#include <QSurfaceFormat>
#include <QWheelEvent>

#include <xcb/xcb.h>

#include <algorithm>
#include <array>
#include <utility>

namespace velto {

namespace {

constexpr int preferredSide = 22; // pixels; the tray decides
constexpr std::uint32_t requestDock = 0;

/// Whether the tray blends what lies in it with what is behind it: then it says so by its visual.
bool blends(xcb_connection_t* connection, xcb_window_t tray) {
    const X11Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        connection,
        xcb_get_property(connection, 0, tray, x11Atom(connection, "_NET_SYSTEM_TRAY_VISUAL"),
                         XCB_ATOM_VISUALID, 0, 1),
        nullptr));
    if (!reply || xcb_get_property_value_length(reply.get()) != sizeof(xcb_visualid_t)) return false;
    const xcb_visualid_t visual = *static_cast<const xcb_visualid_t*>(xcb_get_property_value(reply.get()));
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    for (auto depth = xcb_screen_allowed_depths_iterator(screen); depth.rem > 0; xcb_depth_next(&depth)) {
        if (depth.data->depth != 32) continue;
        for (auto type = xcb_depth_visuals_iterator(depth.data); type.rem > 0; xcb_visualtype_next(&type))
            if (type.data->visual_id == visual) return true;
    }
    return false;
}

xcb_window_t currentTray(xcb_connection_t* connection) {
    return x11SelectionOwner(connection, x11Atom(connection, "_NET_SYSTEM_TRAY_S0"));
}

} // namespace

TrayStatusItem::TrayStatusItem(Handlers handlers) : handlers_(std::move(handlers)) {
    qGuiApp->installEventFilter(this);
    xcb_connection_t* connection = x11Connection();
    isBlended_ = blends(connection, currentTray(connection));
    QSurfaceFormat format;
    format.setAlphaBufferSize(isBlended_ ? 8 : 0);
    setFormat(format);
    setFlags(Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus);
    setMinimumSize({preferredSide, preferredSide});
    resize(preferredSide, preferredSide);
}

void TrayStatusItem::setLabel(const QString& symbol, const QString& accessibilityText) {
    setTitle(accessibilityText);
    if (std::exchange(symbol_, symbol).isEmpty()) {
        dock();
    } else {
        update();
    }
}

void TrayStatusItem::dock() {
    xcb_connection_t* connection = x11Connection();
    create();
    const auto window = static_cast<xcb_window_t>(winId());
    const std::array<std::uint32_t, 2> information{0, 1}; // the protocol's version; wants to be seen
    const xcb_atom_t name = x11Atom(connection, "_XEMBED_INFO");
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, name, name, 32, information.size(),
                        information.data());
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = currentTray(connection);
    message.type = x11Atom(connection, "_NET_SYSTEM_TRAY_OPCODE");
    message.data.data32[0] = XCB_CURRENT_TIME;
    message.data.data32[1] = requestDock;
    message.data.data32[2] = window;
    xcb_send_event(connection, 0, message.window, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char*>(&message));
    xcb_flush(connection);
}

void TrayStatusItem::paintEvent(QPaintEvent*) {
    const QPalette palette = QGuiApplication::palette();
    QPainter painter(this);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(QRect(QPoint(), size()),
                     isBlended_ ? QColor(Qt::transparent) : palette.color(QPalette::Window));
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    const int side = std::min(width(), height());
    const qreal scale = devicePixelRatio();
    QImage symbol = symbolImage(symbol_, palette.color(QPalette::WindowText), QSize(side, side) * scale);
    symbol.setDevicePixelRatio(scale);
    painter.drawImage(QPoint((width() - side) / 2, (height() - side) / 2), symbol);
}

void TrayStatusItem::mousePressEvent(QMouseEvent*) { handlers_.activated(place()); }

void TrayStatusItem::wheelEvent(QWheelEvent* event) { handlers_.scrolled(event->angleDelta().y() / 120.0); }

bool TrayStatusItem::eventFilter(QObject* object, QEvent* event) {
    if (object == qGuiApp && event->type() == QEvent::ApplicationPaletteChange) update();
    return false;
}

} // namespace velto
