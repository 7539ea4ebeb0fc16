#include "Velto/Qt/Appearance.h"

#include "Velto/Qt/X11Desktop.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QEvent>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QPalette>

#include <algorithm>
#include <cmath>
#include <utility>

namespace velto {

namespace {

constexpr auto portalService = "org.freedesktop.portal.Desktop";
constexpr auto portalPath = "/org/freedesktop/portal/desktop";
constexpr auto portalInterface = "org.freedesktop.portal.Settings";
constexpr auto appearanceGroup = "org.freedesktop.appearance";
constexpr auto interfaceGroup = "org.gnome.desktop.interface";
constexpr double readableContrast = 4.5;
/// What Qt's palette has where no desktop says anything.
constexpr QColor paletteWithoutDesktop(0x30, 0x8c, 0xc6);
constexpr QColor ownAccent(0x2f, 0x6b, 0xe8);

double luminance(const QColor& color) {
    const auto linear = [](float channel) {
        const double value = static_cast<double>(channel);
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

/// The colour, as much darker or lighter as the ground demands.
QColor readableOn(QColor color, const QColor& ground) {
    const bool isOnDark = luminance(ground) < 0.18;
    for (int step = 0; step < 40 && Appearance::contrast(color, ground) < readableContrast; ++step) {
        float hue = 0, saturation = 0, lightness = 0;
        color.getHslF(&hue, &saturation, &lightness);
        lightness = std::clamp(lightness + (isOnDark ? 0.02F : -0.02F), 0.0F, 1.0F);
        color = QColor::fromHslF(std::max(hue, 0.0F), saturation, lightness);
    }
    return color;
}

/// A group of three numbers from 0 to 1; anything else is no colour.
std::optional<QColor> accentFromPortal(const QVariant& value) {
    if (!value.canConvert<QDBusArgument>()) return std::nullopt;
    const auto argument = value.value<QDBusArgument>();
    if (argument.currentSignature() != QLatin1String("(ddd)")) return std::nullopt;
    double red = -1, green = -1, blue = -1;
    argument.beginStructure();
    argument >> red >> green >> blue;
    argument.endStructure();
    for (const double channel : {red, green, blue})
        if (!(channel >= 0 && channel <= 1)) return std::nullopt;
    return QColor::fromRgbF(static_cast<float>(red), static_cast<float>(green), static_cast<float>(blue));
}

} // namespace

Appearance::Appearance() {
    qApp->installEventFilter(this);
    askPortal();
}

double Appearance::contrast(const QColor& one, const QColor& other) {
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

bool Appearance::isDark() const {
    if (overruled_.isDark) return *overruled_.isDark;
    if (wishes_.isDark) return *wishes_.isDark;
    const QPalette palette = QGuiApplication::palette();
    return palette.color(QPalette::Window).lightnessF() < palette.color(QPalette::WindowText).lightnessF();
}

QColor Appearance::chosenAccent() const {
    if (overruled_.accent) return *overruled_.accent;
    if (wishes_.accent) return *wishes_.accent;
    const QColor highlight = QGuiApplication::palette().color(QPalette::Highlight);
    return highlight == paletteWithoutDesktop ? ownAccent : highlight;
}

QColor Appearance::accent() const { return readableOn(chosenAccent(), Qt::white); }

QColor Appearance::accentInk() const {
    return readableOn(chosenAccent(), isDark() ? QColor(0x50, 0x50, 0x56) : QColor(0xe8, 0xe8, 0xec));
}

bool Appearance::isComposited() const { return overruled_.isComposited.value_or(windowsAreBlended()); }

QString Appearance::fontFamily() const {
    static const QString family = QStringLiteral("Inter");
    return QFontDatabase::hasFamily(family) ? family : QGuiApplication::font().family();
}

void Appearance::overrule(Wishes wishes) {
    if (overruled_ == wishes) return;
    overruled_ = std::move(wishes);
    Q_EMIT changed();
}

bool Appearance::eventFilter(QObject* object, QEvent* event) {
    if (object == qApp && event->type() == QEvent::ApplicationPaletteChange) Q_EMIT changed();
    return false;
}

void Appearance::askPortal() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return;
    bus.connect(portalService, portalPath, portalInterface, "SettingChanged", this,
                SLOT(portalChanged(QString, QString, QDBusVariant)));
    for (const auto& [group, key] :
         {std::pair(appearanceGroup, "color-scheme"), std::pair(appearanceGroup, "accent-color"),
          std::pair(interfaceGroup, "enable-animations")}) {
        QDBusMessage question =
            QDBusMessage::createMethodCall(portalService, portalPath, portalInterface, "Read");
        question << QString::fromLatin1(group) << QString::fromLatin1(key);
        auto* reply = new QDBusPendingCallWatcher(bus.asyncCall(question), this);
        connect(reply, &QDBusPendingCallWatcher::finished, this, [this, reply, group, key] {
            const QDBusPendingReply<QVariant> answer = *reply;
            reply->deleteLater();
            if (answer.isError()) return; // no portal, or none of this kind
            QVariant value = answer.value();
            while (value.canConvert<QDBusVariant>()) // wrapped twice by the interface's definition
                value = value.value<QDBusVariant>().variant();
            note(QString::fromLatin1(group), QString::fromLatin1(key), value);
        });
    }
}

void Appearance::portalChanged(const QString& group, const QString& key, const QDBusVariant& value) {
    note(group, key, value.variant());
}

void Appearance::note(const QString& group, const QString& key, const QVariant& value) {
    const Wishes before = wishes_;
    if (group == QLatin1String(appearanceGroup) && key == QLatin1String("color-scheme")) {
        // 1 prefers dark, 2 prefers light, 0 has no preference.
        const uint scheme = value.toUInt();
        wishes_.isDark = scheme == 1   ? std::optional(true)
                         : scheme == 2 ? std::optional(false)
                                       : std::nullopt;
    } else if (group == QLatin1String(appearanceGroup) && key == QLatin1String("accent-color")) {
        wishes_.accent = accentFromPortal(value);
    } else if (group == QLatin1String(interfaceGroup) && key == QLatin1String("enable-animations")) {
        wishes_.reducesMotion = !value.toBool();
    }
    if (wishes_ != before) Q_EMIT changed();
}

} // namespace velto
