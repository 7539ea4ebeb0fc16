#include "Velto/Linux/NotifierStatusItemTypes.h"

#include <QDBusMetaType>
#include <QImage>
#include <QPixmap>
#include <QtEndian>

#include <cstddef>

namespace velto {

namespace {

template <class... Fields>
QDBusArgument& writeStructure(QDBusArgument& argument, const Fields&... fields) {
    argument.beginStructure();
    (argument << ... << fields);
    argument.endStructure();
    return argument;
}

template <class... Fields>
const QDBusArgument& readStructure(const QDBusArgument& argument, Fields&... fields) {
    argument.beginStructure();
    (argument >> ... >> fields);
    argument.endStructure();
    return argument; // NOLINT(bugprone-return-const-ref-from-parameter): as Qt's own operators do
}

NotifierPixmap pixmapOf(const QImage& image) {
    NotifierPixmap result{image.width(), image.height(), {}};
    result.bytes.resize(image.sizeInBytes()); // rows of four-byte pixels have no padding
    qToBigEndian<quint32>(image.constBits(), image.sizeInBytes() / qsizetype{sizeof(quint32)},
                          result.bytes.data());
    return result;
}

} // namespace

NotifierPixmaps notifierPixmaps(const QIcon& icon) {
    NotifierPixmaps result;
    for (const QSize& size : icon.availableSizes())
        result.append(pixmapOf(icon.pixmap(size, 1.0).toImage().convertToFormat(QImage::Format_ARGB32)));
    return result;
}

void registerNotifierTypes() {
    qDBusRegisterMetaType<NotifierPixmap>();
    qDBusRegisterMetaType<NotifierPixmaps>();
    qDBusRegisterMetaType<NotifierToolTip>();
    qDBusRegisterMetaType<NotifierMenuProperties>();
    qDBusRegisterMetaType<NotifierMenuPropertiesList>();
    qDBusRegisterMetaType<NotifierMenuLayout>();
    qDBusRegisterMetaType<NotifierMenuEvent>();
    qDBusRegisterMetaType<QList<NotifierMenuEvent>>();
}

QDBusArgument& operator<<(QDBusArgument& argument, const NotifierPixmap& value) {
    return writeStructure(argument, value.width, value.height, value.bytes);
}
const QDBusArgument& operator>>(const QDBusArgument& argument, NotifierPixmap& value) {
    return readStructure(argument, value.width, value.height, value.bytes);
}

QDBusArgument& operator<<(QDBusArgument& argument, const NotifierToolTip& value) {
    return writeStructure(argument, value.iconName, value.icon, value.title, value.text);
}
const QDBusArgument& operator>>(const QDBusArgument& argument, NotifierToolTip& value) {
    return readStructure(argument, value.iconName, value.icon, value.title, value.text);
}

QDBusArgument& operator<<(QDBusArgument& argument, const NotifierMenuProperties& value) {
    return writeStructure(argument, value.id, value.properties);
}
const QDBusArgument& operator>>(const QDBusArgument& argument, NotifierMenuProperties& value) {
    return readStructure(argument, value.id, value.properties);
}

QDBusArgument& operator<<(QDBusArgument& argument, const NotifierMenuLayout& value) {
    return writeStructure(argument, value.id, value.properties, value.children);
}
const QDBusArgument& operator>>(const QDBusArgument& argument, NotifierMenuLayout& value) {
    return readStructure(argument, value.id, value.properties, value.children);
}

QDBusArgument& operator<<(QDBusArgument& argument, const NotifierMenuEvent& value) {
    return writeStructure(argument, value.id, value.name, value.data, value.timestamp);
}
const QDBusArgument& operator>>(const QDBusArgument& argument, NotifierMenuEvent& value) {
    return readStructure(argument, value.id, value.name, value.data, value.timestamp);
}

} // namespace velto
