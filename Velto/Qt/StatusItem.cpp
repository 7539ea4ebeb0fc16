#include "Velto/Qt/StatusItem.h"

#include "Velto/Qt/SymbolImage.h"
#include "Velto/Qt/X11Desktop.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QGuiApplication>
#include <QPalette>
#include <QWheelEvent>

#include <utility>

namespace velto {

bool StatusItem::isAvailable() {
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (bus.isConnected() &&
        bus.interface()->isServiceRegistered(QStringLiteral("org.kde.StatusNotifierWatcher")))
        return true;
    return hasSystemTray();
}

StatusItem::StatusItem(Handlers handlers) : handlers_(std::move(handlers)) {
    menu_.addAction(QStringLiteral("Open Velto"), this, [this] { handlers_.activated(icon_.geometry()); });
    menu_.addAction(QStringLiteral("Settings…"), this, [this] { handlers_.settingsChosen(); });
    menu_.addSeparator();
    menu_.addAction(QStringLiteral("Quit Velto"), this, [this] { handlers_.quitChosen(); });
    icon_.setContextMenu(&menu_);
    icon_.installEventFilter(this);
    connect(&icon_, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        // Two quick clicks arrive as one and a double click: both are clicks.
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick)
            handlers_.activated(icon_.geometry());
    });
}

void StatusItem::setLabel(const QString& symbol, const QString& accessibilityText) {
    if (std::exchange(symbol_, symbol) == symbol) return;
    icon_.setIcon(symbolIcon(symbol, QGuiApplication::palette().color(QPalette::WindowText)));
    icon_.setToolTip(accessibilityText);
    icon_.show();
}

bool StatusItem::eventFilter(QObject* object, QEvent* event) {
    if (object != &icon_ || event->type() != QEvent::Wheel) return false;
    handlers_.scrolled(static_cast<QWheelEvent*>(event)->angleDelta().y() / 120.0);
    return true;
}

} // namespace velto
