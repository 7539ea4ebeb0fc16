#include "Tests/Desktop/DesktopShell.h"

#include "Tests/Desktop/DesktopTest.h"
#include "Velto/Linux/NotifierStatusItemTypes.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>

#include <gmock/gmock.h>

#include <utility>

namespace velto {

namespace {

const QString watcher = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString itemPath = QStringLiteral("/StatusNotifierItem");
const QString itemInterface = QStringLiteral("org.kde.StatusNotifierItem");

QString nextConnectionName() {
    static int number = 0;
    return QStringLiteral("shell %1").arg(++number);
}

} // namespace

DesktopShell::DesktopShell()
    : connectionName_(nextConnectionName()),
      bus_(QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName_)) {
    EXPECT_TRUE(
        bus_.registerObject("/StatusNotifierWatcher", this, QDBusConnection::ExportScriptableContents));
    for (const char* name : {"NewIcon", "NewTitle", "NewToolTip", "NewStatus"})
        bus_.connect({}, itemPath, itemInterface, QString::fromLatin1(name), this,
                     SLOT(noteSignal(QDBusMessage)));
    bus_.connect({}, {}, "com.canonical.dbusmenu", "LayoutUpdated", this, SLOT(noteSignal(QDBusMessage)));
    EXPECT_TRUE(bus_.interface()->registerService(watcher, QDBusConnectionInterface::ReplaceExistingService,
                                                  QDBusConnectionInterface::AllowReplacement));
}

DesktopShell::~DesktopShell() { QDBusConnection::disconnectFromBus(connectionName_); }

void DesktopShell::setDrawsItems(bool draws) {
    drawsItems_ = draws;
    if (draws) {
        Q_EMIT StatusNotifierHostRegistered();
    } else {
        Q_EMIT StatusNotifierHostUnregistered();
    }
}

void DesktopShell::settle() {
    // A bus answers a question after all that it was sent before; what it says to one program comes in order.
    for (int round = 0; round < 2; ++round)
        for (const QDBusConnection& connection : {QDBusConnection::sessionBus(), bus_}) {
            connection.interface()->isServiceRegistered(watcher);
            QCoreApplication::processEvents();
        }
}

QStringList DesktopShell::takeSignals() {
    settle();
    return std::exchange(signals_, {});
}

void DesktopShell::RegisterStatusNotifierItem(const QString& service) { items_.append(service); }

void DesktopShell::noteSignal(const QDBusMessage& message) { signals_.append(message.member()); }

/// The item lives in this very thread: it can only answer while the loop runs.
QDBusMessage DesktopShell::call(const QString& path, const QString& interface, const QString& method,
                                const QVariantList& arguments) {
    if (items_.isEmpty()) return QDBusMessage::createError("test", "There is no item");
    QDBusMessage question = QDBusMessage::createMethodCall(items_.back(), path, interface, method);
    question.setArguments(arguments);
    const QDBusPendingCallWatcher answer(bus_.asyncCall(question)); // wakes the loop, too
    EXPECT_TRUE(runUntil([&] { return answer.isFinished(); })) << method.toStdString();
    return QDBusPendingCall(answer).reply();
}

QVariant DesktopShell::property(const QString& name) {
    const QDBusMessage answer =
        call(itemPath, QStringLiteral("org.freedesktop.DBus.Properties"), "Get", {itemInterface, name});
    EXPECT_EQ(answer.errorMessage().toStdString(), "");
    return answer.arguments().value(0).value<QDBusVariant>().variant();
}

QDBusMessage DesktopShell::callItem(const QString& method, const QVariantList& arguments) {
    return call(itemPath, itemInterface, method, arguments);
}

QDBusMessage DesktopShell::callMenu(const QString& method, const QVariantList& arguments) {
    const QString path = property("Menu").value<QDBusObjectPath>().path();
    return call(path, QStringLiteral("com.canonical.dbusmenu"), method, arguments);
}

bool DesktopShell::choose(const QString& label) {
    const QDBusMessage answer = callMenu("GetLayout", {0, -1, QStringList()});
    const auto layout = qdbus_cast<NotifierMenuLayout>(answer.arguments().value(1));
    for (const QVariant& child : layout.children) {
        const auto entry = qdbus_cast<NotifierMenuLayout>(child);
        if (entry.properties.value("label") != label) continue;
        callMenu("Event", {entry.id, "clicked", QVariant::fromValue(QDBusVariant(0)), 0U});
        return true;
    }
    return false;
}

} // namespace velto
