#include "Velto/Linux/TrayStatusItem.h"

#include "Velto/Linux/ClickPlace.h"
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
#include <optional>
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

void TrayStatusItem::setLook(const Look& look) {
    look_ = look;
    setTitle(look.accessibilityText);
    toolTip_.setText(look.toolTip);
    if (std::exchange(isDocked_, true)) {
        update();
    } else {
        dock();
    }
}

/// Qt knows where it lies in the tray, and not where the tray has gone since.
QRect TrayStatusItem::place() const {
    xcb_connection_t* connection = x11Connection();
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    const X11Reply<xcb_translate_coordinates_reply_t> reply(xcb_translate_coordinates_reply(
        connection, xcb_translate_coordinates(connection, static_cast<xcb_window_t>(winId()), root, 0, 0),
        nullptr));
    if (!reply) return {};
    return {clickPlace({reply->dst_x, reply->dst_y}, std::nullopt, ScaledScreen::all()), size()};
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

/// The server paints it, when the item's own window is to look like what lies behind it.
QImage TrayStatusItem::ground() const {
    xcb_connection_t* connection = x11Connection();
    const auto window = static_cast<xcb_window_t>(winId());
    const std::uint32_t parentRelative = XCB_BACK_PIXMAP_PARENT_RELATIVE;
    xcb_change_window_attributes(connection, window, XCB_CW_BACK_PIXMAP, &parentRelative);
    const QSize size = this->size() * devicePixelRatio();
    const auto side = [](int length) { return static_cast<std::uint16_t>(length); };
    xcb_clear_area(connection, 0, window, 0, 0, 0, 0);
    const X11Reply<xcb_get_image_reply_t> reply(
        xcb_get_image_reply(connection,
                            xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, window, 0, 0,
                                          side(size.width()), side(size.height()), ~0U),
                            nullptr));
    const qsizetype bytes = qsizetype{4} * size.width() * size.height();
    if (!reply || xcb_get_image_data_length(reply.get()) != bytes)
        return {}; // not seen, or not so many colours
    QImage image(xcb_get_image_data(reply.get()), size.width(), size.height(),
                 isBlended_ ? QImage::Format_ARGB32_Premultiplied : QImage::Format_RGB32);
    return image.copy();
}

/// By the ground that can be seen; else by the program's own colours.
QColor TrayStatusItem::ink(const QImage& ground) const {
    const QColor own = QGuiApplication::palette().color(QPalette::WindowText);
    if (ground.isNull()) return own;
    const QColor mean = ground.scaled(1, 1, Qt::IgnoreAspectRatio, Qt::SmoothTransformation).pixelColor(0, 0);
    if (mean.alphaF() < 0.5F) return own;
    const bool isDark = qGray(mean.rgb()) < 128;
    if (isDark == (qGray(own.rgb()) >= 128)) return own; // goes with it
    return isDark ? QColor(Qt::white) : QColor(0x23, 0x26, 0x29);
}

void TrayStatusItem::paintEvent(QPaintEvent*) {
    const QImage ground = this->ground();
    QPainter painter(this);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    const QRect all(QPoint(), size());
    if (isBlended_) {
        painter.fillRect(all, Qt::transparent);
    } else if (ground.isNull()) {
        painter.fillRect(all, QGuiApplication::palette().color(QPalette::Window));
    } else {
        painter.drawImage(all, ground);
    }
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    const int side = std::min(width(), height());
    const qreal scale = devicePixelRatio();
    QImage symbol = statusImage(look_.form, ink(ground), QSize(side, side) * scale);
    symbol.setDevicePixelRatio(scale);
    painter.drawImage(QPoint((width() - side) / 2, (height() - side) / 2), symbol);
}

bool TrayStatusItem::event(QEvent* event) {
    if (event->type() == QEvent::Enter) toolTip_.showBeside(place());
    if (event->type() == QEvent::Leave) toolTip_.vanish();
    return QRasterWindow::event(event);
}

void TrayStatusItem::mousePressEvent(QMouseEvent* event) {
    toolTip_.vanish();
    if (event->button() == Qt::RightButton) {
        handlers_.menuWanted(place());
    } else {
        handlers_.activated(place());
    }
}

void TrayStatusItem::wheelEvent(QWheelEvent* event) { handlers_.scrolled(event->angleDelta().y() / 120.0); }

bool TrayStatusItem::eventFilter(QObject* object, QEvent* event) {
    if (object == qGuiApp && event->type() == QEvent::ApplicationPaletteChange) update();
    return false;
}

} // namespace velto
