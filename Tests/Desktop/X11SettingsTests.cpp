#include "Velto/Linux/X11Settings.h"

#include <gmock/gmock.h>

namespace velto {
namespace {

/// As a settings manager publishes them: a colour, a number and a text.
QByteArray published(bool isBigEndian) {
    QByteArray bytes(12, '\0');
    bytes[0] = isBigEndian ? '\1' : '\0';
    const auto number = [&](quint32 value, int size) {
        for (int index = 0; index < size; ++index)
            bytes.append(static_cast<char>(value >> 8 * (isBigEndian ? size - 1 - index : index)));
    };
    const auto begin = [&](char kind, const QByteArray& name) {
        bytes.append(kind).append('\0');
        number(static_cast<quint32>(name.size()), 2);
        bytes.append(name).append((4 - name.size() % 4) % 4, '\0');
        number(7, 4);
    };
    begin(2, "Gtk/Color");
    bytes.append(8, 'c');
    begin(0, "Gdk/WindowScalingFactor");
    number(2, 4);
    begin(1, "Gtk/FontName");
    number(14, 4);
    bytes.append("Cantarell 12.5").append(2, '\0');
    return bytes;
}

TEST(X11SettingsTests, AreReadInBothByteOrdersAndOnlyAsFarAsTheyGo) {
    for (const bool isBigEndian : {false, true}) {
        const QByteArray bytes = published(isBigEndian);
        EXPECT_EQ(x11SettingIn(bytes, "Gdk/WindowScalingFactor"), QVariant(2));
        EXPECT_EQ(x11SettingIn(bytes, "Gtk/FontName"), QVariant(QByteArray("Cantarell 12.5")));
        EXPECT_FALSE(x11SettingIn(bytes, "Gtk/Nothing").isValid());
        for (qsizetype length = 0; length < bytes.size(); ++length) // cut anywhere, it ends
            x11SettingIn(bytes.first(length), "none");
    }
}

} // namespace
} // namespace velto
