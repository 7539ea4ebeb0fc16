#include "Velto/Linux/DesktopStatusArea.h"

#include "Velto/Linux/NotifierStatusItem.h"
#include "Velto/Linux/TrayStatusItem.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusReply>
#include <QDBusVariant>

#include <utility>

namespace velto {

namespace {

constexpr auto watcherPath = "/StatusNotifierWatcher";

} // namespace

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
                    hasNotifier_ = false;
                    if (owner.isEmpty()) {
                        reconsider();
                    } else {
                        askForHost();
                    }
                });
        for (const char* signal : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"})
            QDBusConnection::sessionBus().connect(service, watcherPath, service, signal, this,
                                                  SLOT(askForHost()));
        if (bus.interface()->isServiceRegistered(service)) askForHost();
    }
    if (openQuestions_ == 0) known_ = area();
}

void DesktopStatusArea::askForHost() {
    const QString service = QString::fromLatin1(NotifierStatusItem::watcherService);
    QDBusMessage question =
        QDBusMessage::createMethodCall(service, watcherPath, "org.freedesktop.DBus.Properties", "Get");
    question << service << QStringLiteral("IsStatusNotifierHostRegistered");
    auto* reply = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question), this);
    ++openQuestions_;
    connect(reply, &QDBusPendingCallWatcher::finished, this, [this, reply] {
        const QDBusPendingReply<QDBusVariant> answer = *reply;
        reply->deleteLater();
        --openQuestions_;
        // One that doesn't say is taken to draw the items itself; one that has gone says nothing any more.
        hasNotifier_ = answer.isError() ? answer.error().type() != QDBusError::ServiceUnknown
                                        : answer.value().variant().toBool();
        reconsider();
    });
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
    if (openQuestions_ > 0) return;
    const Area before = std::exchange(known_, area());
    if (known_ != before) changed_();
}

} // namespace velto
