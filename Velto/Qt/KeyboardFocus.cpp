#include "Velto/Qt/KeyboardFocus.h"

#include <QEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QTimer>

#include <algorithm>

namespace velto {

namespace {

constexpr double margin = 8; // around what is scrolled into view, in pixels

QQuickItem* viewOf(const QQuickWindow& window) {
    for (QQuickItem* child : window.contentItem()->childItems())
        if (child->isFocusScope() && child->isVisible()) return child;
    return nullptr;
}

/// What only holds other controls has it for one of them that is disabled for the moment, or has lost it.
bool isWellPlaced(const QQuickWindow& window) {
    const QQuickItem* item = window.activeFocusItem();
    if (!item || item == window.contentItem() || !item->isVisible()) return false;
    const QQuickItem* view = viewOf(window);
    const bool isOfView = view && (item == view || view->isAncestorOf(item));
    if (!isOfView || !item->isFocusScope() || item->activeFocusOnTab()) return true;
    return item->scopedFocusItem() && item->scopedFocusItem()->isVisible();
}

void bringIntoView(QQuickItem& item, QQuickItem& flickable) {
    const auto* content = flickable.property("contentItem").value<QQuickItem*>();
    const QRectF place = item.mapRectToItem(content, item.boundingRect()).adjusted(0, -margin, 0, margin);
    const double top = flickable.property("contentY").toDouble();
    const double first = flickable.property("originY").toDouble();
    const double last = first + flickable.property("contentHeight").toDouble() - flickable.height();
    const double wanted = std::min(std::max(top, place.bottom() - flickable.height()), place.top());
    flickable.setProperty("contentY", std::max(first, std::min(wanted, last)));
}

bool isModifier(const QKeyEvent& event) {
    return event.key() == Qt::Key_Shift || event.key() == Qt::Key_Control || event.key() == Qt::Key_Alt ||
           event.key() == Qt::Key_Meta || event.key() == Qt::Key_AltGr;
}

} // namespace

KeyboardFocus::KeyboardFocus() { qApp->installEventFilter(this); }

void KeyboardFocus::follow(QQuickWindow& window) {
    const auto check = [this, &window] { moved(window); };
    connect(&window, &QQuickWindow::activeFocusItemChanged, this, check);
    connect(&window, &QWindow::activeChanged, this, check);
}

void KeyboardFocus::beginIn(QQuickWindow& window) {
    setIsShown(false);
    QMetaObject::invokeMethod(&window, "focusHome");
}

void KeyboardFocus::moved(QQuickWindow& window) {
    if (!window.isActive()) return;
    disconnect(hiding_);
    // A turn later: what is hidden now may only make room for what takes its place.
    const auto settleSoon = [&window] { QTimer::singleShot(0, &window, [&window] { settle(window); }); };
    QQuickItem* item = window.activeFocusItem();
    if (!isWellPlaced(window)) settleSoon();
    if (!item) return;
    hiding_ = connect(item, &QQuickItem::visibleChanged, this, settleSoon);
    for (QQuickItem* parent = item->parentItem(); parent; parent = parent->parentItem())
        if (parent->inherits("QQuickFlickable")) bringIntoView(*item, *parent);
}

void KeyboardFocus::settle(QQuickWindow& window) {
    const bool hasHome = window.metaObject()->indexOfMethod("focusHome()") >= 0;
    if (!hasHome || !window.isActive() || isWellPlaced(window)) return;
    if (QQuickItem* view = viewOf(window)) view->forceActiveFocus(); // as before a menu was open
    if (!isWellPlaced(window)) QMetaObject::invokeMethod(&window, "focusHome");
}

void KeyboardFocus::setIsShown(bool isShown) {
    if (isShown_ == isShown) return;
    isShown_ = isShown;
    Q_EMIT isShownChanged();
}

bool KeyboardFocus::eventFilter(QObject*, QEvent* event) {
    if (event->type() == QEvent::KeyPress && !isModifier(*static_cast<QKeyEvent*>(event))) setIsShown(true);
    if (event->type() == QEvent::MouseButtonPress || event->type() == QEvent::TouchBegin) setIsShown(false);
    return false;
}

} // namespace velto
