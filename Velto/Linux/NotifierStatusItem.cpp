#include "Velto/Linux/NotifierStatusItem.h"

#include "Velto/Qt/SymbolImage.h"
#include "VeltoCore/Services/LoggingService.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QEvent>
#include <QGuiApplication>
#include <QPalette>
#include <QPoint>

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

} // namespace

NotifierStatusItem::NotifierStatusItem(Handlers handlers)
    : handlers_(std::move(handlers)), menu_(menuEntries(handlers_)), bus_(QDBusConnection::sessionBus()),
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

void NotifierStatusItem::setLabel(const QString& symbol, const QString& accessibilityText) {
    const bool isFirst = symbol_.isEmpty();
    const bool hasOtherSymbol = std::exchange(symbol_, symbol) != symbol;
    const bool hasOtherText = std::exchange(accessibilityText_, accessibilityText) != accessibilityText;
    if (isFirst) {
        registerAtWatcher(); // not before there is something to show
        return;
    }
    if (hasOtherSymbol) Q_EMIT NewIcon();
    if (!hasOtherText) return;
    Q_EMIT NewTitle();
    Q_EMIT NewToolTip();
}

bool NotifierStatusItem::eventFilter(QObject* object, QEvent* event) {
    if (object == qApp && event->type() == QEvent::ApplicationPaletteChange) Q_EMIT NewIcon();
    return false;
}

QString NotifierStatusItem::iconName() const {
    const QString name = QStringLiteral("com.corlent.velto.%1-symbolic").arg(symbol_);
    return QIcon::hasThemeIcon(name) ? name : QString();
}

NotifierPixmaps NotifierStatusItem::iconPixmap() const {
    return notifierPixmaps(symbolIcon(symbol_, QGuiApplication::palette().color(QPalette::WindowText)));
}

QDBusObjectPath NotifierStatusItem::menu() const { return QDBusObjectPath(QString::fromLatin1(menuPath)); }

void NotifierStatusItem::Activate(int x, int y) {
    const QPoint point(x, y);
    // The origin is what desktops say that don't know.
    place_ = point.isNull() ? QRect() : QRect(point - QPoint(reach, reach), point + QPoint(reach, reach));
    handlers_.activated(place_);
}

void NotifierStatusItem::Scroll(int delta, const QString& orientation) {
    if (delta == 0 || orientation.compare(QLatin1String("horizontal"), Qt::CaseInsensitive) == 0) return;
    handlers_.scrolled(delta >= -mostNotchesAtOnce && delta <= mostNotchesAtOnce
                           ? -static_cast<double>(delta)
                           : static_cast<double>(delta) / wheelUnitsPerNotch);
}

} // namespace velto
