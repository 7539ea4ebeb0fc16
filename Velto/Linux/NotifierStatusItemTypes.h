// What a status item and its menu are made of on the bus, by their interfaces' definitions.
#pragma once

#include <QByteArray>
#include <QDBusArgument>
#include <QDBusVariant>
#include <QIcon>
#include <QList>
#include <QString>
#include <QVariantMap>

namespace velto {

/// (iiay): a picture, four bytes a pixel in the order alpha, red, green, blue.
struct NotifierPixmap {
    int width = 0;
    int height = 0;
    QByteArray bytes;
};
using NotifierPixmaps = QList<NotifierPixmap>;

/// (sa(iiay)ss)
struct NotifierToolTip {
    QString iconName;
    NotifierPixmaps icon;
    QString title;
    QString text;
};

/// (ia{sv}): an entry of a menu.
struct NotifierMenuProperties {
    int id = 0;
    QVariantMap properties;
};
using NotifierMenuPropertiesList = QList<NotifierMenuProperties>;

/// (ia{sv}av): an entry with those below it, each of which is one of these again.
struct NotifierMenuLayout {
    int id = 0;
    QVariantMap properties;
    QVariantList children;
};

/// (isvu): something was done to an entry.
struct NotifierMenuEvent {
    int id = 0;
    QString name;
    QDBusVariant data;
    uint timestamp = 0;
};

/// In all the sizes that it has.
NotifierPixmaps notifierPixmaps(const QIcon& icon);

/// Before the first use of any of these on the bus; again does no harm.
void registerNotifierTypes();

QDBusArgument& operator<<(QDBusArgument& argument, const NotifierPixmap& value);
const QDBusArgument& operator>>(const QDBusArgument& argument, NotifierPixmap& value);
QDBusArgument& operator<<(QDBusArgument& argument, const NotifierToolTip& value);
const QDBusArgument& operator>>(const QDBusArgument& argument, NotifierToolTip& value);
QDBusArgument& operator<<(QDBusArgument& argument, const NotifierMenuProperties& value);
const QDBusArgument& operator>>(const QDBusArgument& argument, NotifierMenuProperties& value);
QDBusArgument& operator<<(QDBusArgument& argument, const NotifierMenuLayout& value);
const QDBusArgument& operator>>(const QDBusArgument& argument, NotifierMenuLayout& value);
QDBusArgument& operator<<(QDBusArgument& argument, const NotifierMenuEvent& value);
const QDBusArgument& operator>>(const QDBusArgument& argument, NotifierMenuEvent& value);

} // namespace velto

Q_DECLARE_METATYPE(velto::NotifierPixmap)
Q_DECLARE_METATYPE(velto::NotifierToolTip)
Q_DECLARE_METATYPE(velto::NotifierMenuProperties)
Q_DECLARE_METATYPE(velto::NotifierMenuLayout)
Q_DECLARE_METATYPE(velto::NotifierMenuEvent)
