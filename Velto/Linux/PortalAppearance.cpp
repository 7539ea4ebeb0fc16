#include "Velto/Linux/PortalAppearance.h"

#include "Velto/Linux/X11Desktop.h"
#include "Velto/Linux/X11Settings.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QFont>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QIcon>
#include <QWindow>

#include <utility>

namespace velto {

namespace {

constexpr auto portalService = "org.freedesktop.portal.Desktop";
constexpr auto portalPath = "/org/freedesktop/portal/desktop";
constexpr auto portalInterface = "org.freedesktop.portal.Settings";
constexpr auto appearanceGroup = "org.freedesktop.appearance";
constexpr auto interfaceGroup = "org.gnome.desktop.interface";

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

/// From a name such as "Cantarell Bold 11"; none for anything else.
std::optional<QFont> namedFont(QString name) {
    const auto end = name.lastIndexOf(u' ');
    bool isNumber = false;
    const double size = name.mid(end + 1).toDouble(&isNumber);
    if (end <= 0 || !isNumber || !(size > 0)) return std::nullopt;
    name.truncate(end);
    while (!QFontDatabase::hasFamily(name)) { // words for its weight and the like
        const auto space = name.lastIndexOf(u' ');
        if (space <= 0) break;
        name.truncate(space);
    }
    QFont font(name);
    font.setPointSizeF(size);
    return font;
}

/// As Plasma's own programs take it from Plasma, and others from the settings of X11.
std::optional<QFont> fontOfDesktop() {
    if (qgetenv("XDG_CURRENT_DESKTOP").split(':').contains("KDE")) return QGuiApplication::font();
    xcb_connection_t* connection = x11Connection();
    return connection ? namedFont(QString::fromUtf8(x11Setting(connection, "Gtk/FontName").toByteArray()))
                      : std::nullopt;
}

} // namespace

std::unique_ptr<DesktopAppearance> makeDesktopAppearance(std::function<void()> changed) {
    return std::make_unique<PortalAppearance>(std::move(changed));
}

PortalAppearance::PortalAppearance(std::function<void()> changed) : changed_(std::move(changed)) {
    wishes_.font = fontOfDesktop();
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return;
    bus.connect(portalService, portalPath, portalInterface, "SettingChanged", this,
                SLOT(portalChanged(QString, QString, QDBusVariant)));
    for (const auto& [group, key] :
         {std::pair(appearanceGroup, "color-scheme"), std::pair(appearanceGroup, "accent-color"),
          std::pair(interfaceGroup, "enable-animations"), std::pair(interfaceGroup, "font-name")})
        ask(QString::fromLatin1(group), QString::fromLatin1(key));
}

QString PortalAppearance::fontFamily() const {
    if (wishes_.font) return wishes_.font->family();
    static const QString family = QStringLiteral("Inter");
    return QFontDatabase::hasFamily(family) ? family : QGuiApplication::font().family();
}

std::optional<double> PortalAppearance::fontSize() const {
    return wishes_.font ? std::optional(wishes_.font->pointSizeF()) : std::nullopt;
}

bool PortalAppearance::isComposited() const { return windowsAreBlended(); }

void PortalAppearance::dressPanel(QWindow& panel, int) {
    if (!panel.isVisible()) keepOutOfTaskBar(panel);
}

/// The icon is drawn in all sizes, and sent: only for a window that shows one, in its frame or a task bar.
void PortalAppearance::dressFrame(QWindow& window, bool isDark) {
    if (!window.flags().testFlag(Qt::FramelessWindowHint) && window.icon().isNull())
        window.setIcon(QIcon(QStringLiteral(":/velto/com.corlent.velto.svg")));
    setFrameIsDark(window, isDark);
}

void PortalAppearance::ask(const QString& group, const QString& key) {
    QDBusMessage question =
        QDBusMessage::createMethodCall(portalService, portalPath, portalInterface, "Read");
    question << group << key;
    auto* reply = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question), this);
    connect(reply, &QDBusPendingCallWatcher::finished, this, [this, reply, group, key] {
        const QDBusPendingReply<QVariant> answer = *reply;
        reply->deleteLater();
        if (answer.isError()) return; // no portal, or none of this kind
        QVariant value = answer.value();
        while (value.canConvert<QDBusVariant>()) // wrapped twice by the interface's definition
            value = value.value<QDBusVariant>().variant();
        note(group, key, value);
    });
}

void PortalAppearance::portalChanged(const QString& group, const QString& key, const QDBusVariant& value) {
    note(group, key, value.variant());
}

void PortalAppearance::note(const QString& group, const QString& key, const QVariant& value) {
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
    } else if (group == QLatin1String(interfaceGroup) && key == QLatin1String("font-name") &&
               !fontOfDesktop()) {
        wishes_.font = namedFont(value.toString()); // a portal may tell another desktop's
    }
    if (wishes_ != before) changed_();
}

} // namespace velto
