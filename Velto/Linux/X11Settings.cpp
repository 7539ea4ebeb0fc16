#include "Velto/Linux/X11Settings.h"

#include "Velto/Linux/X11Desktop.h"

#include <QtEndian>

#include <xcb/xcb.h>

#include <algorithm>
#include <cstdint>

namespace velto {

namespace {

constexpr std::uint32_t longestList = 64 * 1024; // in words
constexpr qsizetype headerSize = 12;             // byte order, serial, count

/// Reads what is published from its beginning; beyond its end everything is 0 and empty.
class Reader {
  public:
    Reader(const QByteArray& bytes, qsizetype from)
        : bytes_(bytes), position_(from), isBigEndian_(bytes.startsWith('\1')) {}

    bool isAtEnd() const { return position_ >= bytes_.size(); }
    template <class Number>
    Number number() {
        const QByteArray taken = take(sizeof(Number)).leftJustified(sizeof(Number), '\0');
        return isBigEndian_ ? qFromBigEndian<Number>(taken.constData())
                            : qFromLittleEndian<Number>(taken.constData());
    }
    QByteArray text(qsizetype length) {
        QByteArray taken = take(length);
        take((4 - length % 4) % 4);
        return taken;
    }
    QByteArray take(qsizetype length) {
        const QByteArray taken = bytes_.mid(std::min(position_, bytes_.size()), length);
        position_ += length;
        return taken;
    }

  private:
    const QByteArray& bytes_;
    qsizetype position_;
    bool isBigEndian_;
};

enum class Kind : std::uint8_t { number, text, color };

} // namespace

QVariant x11SettingIn(const QByteArray& published, const QByteArray& name) {
    for (Reader reader(published, headerSize); !reader.isAtEnd();) {
        const auto kind = static_cast<Kind>(reader.number<std::uint8_t>());
        reader.take(1);
        const QByteArray its = reader.text(reader.number<std::uint16_t>());
        reader.number<std::uint32_t>(); // when it was changed
        QVariant value;
        switch (kind) {
        case Kind::number:
            value = reader.number<std::int32_t>();
            break;
        case Kind::text:
            value = reader.text(reader.number<std::uint32_t>());
            break;
        case Kind::color:
            reader.take(8);
            break;
        default:
            return {};
        }
        if (its == name) return value;
    }
    return {};
}

QVariant x11Setting(xcb_connection_t* connection, const QByteArray& name) {
    const std::uint32_t manager = x11SelectionOwner(connection, x11Atom(connection, "_XSETTINGS_S0"));
    const std::uint32_t property = x11Atom(connection, "_XSETTINGS_SETTINGS");
    const X11Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        connection, xcb_get_property(connection, 0, manager, property, property, 0, longestList), nullptr));
    if (manager == 0 || !reply) return {};
    return x11SettingIn({static_cast<const char*>(xcb_get_property_value(reply.get())),
                         xcb_get_property_value_length(reply.get())},
                        name);
}

} // namespace velto
