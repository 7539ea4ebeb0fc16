#include "Velto/Linux/NotifierStatusItem.h"

#include "Velto/Linux/ClickPlace.h"
#include "Velto/Linux/X11Desktop.h"
#include "Velto/Qt/SymbolImage.h"
#include "Velto/Qt/Text.h"
#include "VeltoCore/Services/LoggingService.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QEvent>
#include <QGuiApplication>
#include <QPalette>
#include <QPoint>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>

namespace velto {

namespace {

constexpr const char* itemPath = "/StatusNotifierItem";
constexpr const char* menuPath = "/MenuBar";
constexpr int reach = 8; // about half an icon, in pixels
/// Desktops that pass on the wheel's own figures count 120 a notch, up is positive. The others count notches,
/// down is positive.
constexpr int wheelUnitsPerNotch = 120;
constexpr int mostNotchesAtOnce = 14;
constexpr QRgb onDark = qRgb(0xf0, 0xf0, 0xf0);

/// Tiling compositors come with bars that show an icon as it is, on a ground that is dark unless somebody has
/// changed that; a desktop gives it the colour of its own text.
bool isOnBareBar() {
    const QByteArrayList names = qgetenv("XDG_CURRENT_DESKTOP").split(':');
    return std::ranges::any_of(std::array{"sway", "Hyprland", "river", "niri", "wlroots"},
                               [&](const char* compositor) { return names.contains(compositor); });
}

} // namespace

NotifierStatusItem::NotifierStatusItem(Handlers handlers)
    : handlers_(std::move(handlers)), menu_([this] { return handlers_.menu(); }),
      bus_(QDBusConnection::sessionBus()),
      service_(QStringLiteral("org.kde.StatusNotifierItem-%1-1").arg(QCoreApplication::applicationPid())),
      watcher_(QString::fromLatin1(watcherService), bus_) {
    registerNotifierTypes();
    bus_.registerObject(QString::fromLatin1(menuPath), &menu_, QDBusConnection::ExportScriptableContents);
    bus_.registerObject(QString::fromLatin1(itemPath), this, QDBusConnection::ExportScriptableContents);
    if (!bus_.registerService(service_))
        LoggingService::ui.error("The status item got no name on the bus: {}",
                                 bus_.lastError().message().toStdString());
    connect(&watcher_, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& owner) {
                if (!owner.isEmpty()) registerAtWatcher();
            });
    qApp->installEventFilter(this);
}

NotifierStatusItem::~NotifierStatusItem() {
    bus_.unregisterService(service_);
    bus_.unregisterObject(QString::fromLatin1(itemPath));
    bus_.unregisterObject(QString::fromLatin1(menuPath));
}

void NotifierStatusItem::registerAtWatcher() {
    const QString watcher = QString::fromLatin1(watcherService);
    QDBusMessage request =
        QDBusMessage::createMethodCall(watcher, QStringLiteral("/StatusNotifierWatcher"), watcher,
                                       QStringLiteral("RegisterStatusNotifierItem"));
    request << service_;
    auto* reply = new QDBusPendingCallWatcher(bus_.asyncCall(request), this);
    connect(reply, &QDBusPendingCallWatcher::finished, this, [reply] {
        reply->deleteLater();
        const QDBusPendingReply<> answer = *reply;
        if (answer.isError())
            LoggingService::ui.error("The desktop didn't take the status item: {}",
                                     answer.error().message().toStdString());
    });
}

void NotifierStatusItem::setLook(const Look& look) {
    const Look before = std::exchange(look_, look);
    if (!std::exchange(isRegistered_, true)) {
        registerAtWatcher();
        return;
    }
    if (before.form != look.form) Q_EMIT NewIcon();
    if (before.accessibilityText != look.accessibilityText) Q_EMIT NewTitle();
    if (before.toolTip != look.toolTip) Q_EMIT NewToolTip();
}

bool NotifierStatusItem::eventFilter(QObject* object, QEvent* event) {
    if (object == qApp && event->type() == QEvent::ApplicationPaletteChange) Q_EMIT NewIcon();
    return false;
}

QString NotifierStatusItem::iconName() const {
    const QString kind = QLatin1String(isOnBareBar() ? "light" : "symbolic");
    const QString name =
        QStringLiteral("com.corlent.velto.%1-%2").arg(toQString(drawingName(look_.form)), kind);
    return QIcon::hasThemeIcon(name) ? name : QString();
}

NotifierPixmaps NotifierStatusItem::iconPixmap() const {
    const QColor text = QGuiApplication::palette().color(QPalette::WindowText);
    return notifierPixmaps(statusIcon(look_.form, isOnBareBar() ? QColor(onDark) : text));
}

/// Desktops take the text for markup, or don't: so that a name, which may come from over the air, is read as
/// it is by either, there is nothing in it by which a tag begins.
NotifierToolTip NotifierStatusItem::toolTip() const {
    QString text = look_.toolTip;
    text.replace(u'<', u'\u2039');
    return {{}, {}, QStringLiteral("Velto"), text};
}

QDBusObjectPath NotifierStatusItem::menu() const { return QDBusObjectPath(QString::fromLatin1(menuPath)); }

void NotifierStatusItem::notePlace(int x, int y) {
    place_ = {}; // the origin is what desktops say that don't know
    if (x == 0 && y == 0) return;
    const QPoint point = clickPlace({x, y}, x11Pointer(), ScaledScreen::all());
    place_ = QRect(point - QPoint(reach, reach), point + QPoint(reach, reach));
}

void NotifierStatusItem::Activate(int x, int y) {
    notePlace(x, y);
    handlers_.activated(place_);
}

void NotifierStatusItem::ContextMenu(int x, int y) {
    notePlace(x, y);
    handlers_.menuWanted(place_);
}

void NotifierStatusItem::Scroll(int delta, const QString& orientation) {
    if (delta == 0 || orientation.compare(QLatin1String("horizontal"), Qt::CaseInsensitive) == 0) return;
    handlers_.scrolled(delta >= -mostNotchesAtOnce && delta <= mostNotchesAtOnce
                           ? -static_cast<double>(delta)
                           : static_cast<double>(delta) / wheelUnitsPerNotch);
}

} // namespace velto
