#include "Velto/Qt/TrayStatusItem.h"

#include "Velto/Qt/SymbolImage.h"

#include <QApplication>
#include <QPalette>
#include <QWheelEvent>

#include <utility>

namespace velto {

TrayStatusItem::TrayStatusItem(Handlers handlers) : handlers_(std::move(handlers)) {
    handlers_.activated = [this, activated = std::move(handlers_.activated)](const QRect& place) {
        activated(place.isEmpty() ? icon_.geometry() : place); // the menu's entry doesn't know it
    };
    for (MenuEntry& entry : menuEntries(handlers_)) {
        if (entry.label.isEmpty()) {
            menu_.addSeparator();
        } else {
            menu_.addAction(entry.label, this, std::move(entry.chosen));
        }
    }
    icon_.setContextMenu(&menu_);
    icon_.installEventFilter(this);
    qApp->installEventFilter(this);
    connect(&icon_, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        // Two quick clicks arrive as one and a double click: both are clicks.
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick)
            handlers_.activated({});
    });
}

void TrayStatusItem::setLabel(const QString& symbol, const QString& accessibilityText) {
    if (std::exchange(symbol_, symbol) == symbol) return;
    draw();
    icon_.setToolTip(accessibilityText);
    icon_.show();
}

void TrayStatusItem::draw() {
    icon_.setIcon(symbolIcon(symbol_, QApplication::palette().color(QPalette::WindowText)));
}

bool TrayStatusItem::eventFilter(QObject* object, QEvent* event) {
    if (object == qApp && event->type() == QEvent::ApplicationPaletteChange) draw();
    if (object != &icon_ || event->type() != QEvent::Wheel) return false;
    handlers_.scrolled(static_cast<QWheelEvent*>(event)->angleDelta().y() / 120.0);
    return true;
}

} // namespace velto
