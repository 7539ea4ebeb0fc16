#include "Velto/Linux/DesktopStatusArea.h"

#include "Velto/Linux/NotifierStatusItem.h"
#include "Velto/Linux/TrayStatusItem.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusReply>

#include <utility>

namespace velto {

DesktopStatusArea::DesktopStatusArea(std::function<void()> changed)
    : changed_(std::move(changed)), tray_([this] {
          // Later: who is told may end windows that the event is still on its way to.
          QMetaObject::invokeMethod(this, [this] { reconsider(); }, Qt::QueuedConnection);
      }) {
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (bus.isConnected()) {
        const QString service = QString::fromLatin1(NotifierStatusItem::watcherService);
        notifierWatcher_ = std::make_unique<QDBusServiceWatcher>(service, bus);
        connect(notifierWatcher_.get(), &QDBusServiceWatcher::serviceOwnerChanged, this,
                [this](const QString&, const QString&, const QString& owner) {
                    hasNotifier_ = !owner.isEmpty();
                    reconsider();
                });
        hasNotifier_ = bus.interface()->isServiceRegistered(service);
    }
    known_ = area();
}

std::unique_ptr<StatusItem> DesktopStatusArea::makeStatusItem(StatusItem::Handlers handlers) {
    switch (known_.kind) {
    case Kind::none:
        break;
    case Kind::notifier:
        return std::make_unique<NotifierStatusItem>(std::move(handlers));
    case Kind::tray:
        return std::make_unique<TrayStatusItem>(std::move(handlers));
    }
    return nullptr;
}

DesktopStatusArea::Area DesktopStatusArea::area() const {
    if (hasNotifier_) return {Kind::notifier};
    return tray_.isPresent() ? Area{Kind::tray, tray_.window()} : Area{};
}

void DesktopStatusArea::reconsider() {
    const Area before = std::exchange(known_, area());
    if (known_ != before) changed_();
}

} // namespace velto
