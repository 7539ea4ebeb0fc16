#include "Velto/Qt/StatusArea.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusReply>

#include <utility>

namespace velto {

StatusArea::StatusArea(std::function<void()> changed)
    : tray_([this, changed] {
          // Later: who is told may end windows that the event is still on its way to.
          QMetaObject::invokeMethod(this, changed, Qt::QueuedConnection);
      }) {
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return;
    const QString service = QString::fromLatin1(notifierService);
    notifierWatcher_ = std::make_unique<QDBusServiceWatcher>(service, bus);
    connect(notifierWatcher_.get(), &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this, changed = std::move(changed)](const QString&, const QString&, const QString& owner) {
                hasNotifier_ = !owner.isEmpty();
                changed();
            });
    hasNotifier_ = bus.interface()->isServiceRegistered(service);
}

StatusArea::Kind StatusArea::kind() const {
    if (hasNotifier_) return Kind::notifier;
    return tray_.isPresent() ? Kind::tray : Kind::none;
}

} // namespace velto
