// What an X11 desktop tells all programs of its looks, by its settings manager.
#pragma once

#include <QByteArray>
#include <QVariant>

struct xcb_connection_t;

namespace velto {

/// A number or a text (QByteArray) by its name, such as "Gtk/FontName"; invalid where there is no such
/// setting, or nobody who manages any.
QVariant x11Setting(xcb_connection_t* connection, const QByteArray& name);

/// The same from what the manager has published.
QVariant x11SettingIn(const QByteArray& published, const QByteArray& name);

} // namespace velto
