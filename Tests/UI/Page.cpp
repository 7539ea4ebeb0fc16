#include "Tests/UI/Page.h"

#include <QTest>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace velto {

namespace {

Control read(QAccessibleInterface& accessible, const QQuickWindow& window) {
    const QAccessible::State state = accessible.state();
    QAccessibleValueInterface* value = accessible.valueInterface();
    auto* item = qobject_cast<QQuickItem*>(accessible.object());
    return {.role = accessible.role(),
            .name = accessible.text(QAccessible::Name),
            .description = accessible.text(QAccessible::Description),
            .value = value ? value->currentValue().toDouble() : std::numeric_limits<double>::quiet_NaN(),
            .isEnabled = !state.disabled,
            .isChecked = state.checked != 0,
            .isOffscreen = state.offscreen != 0,
            .place = QRect(window.mapFromGlobal(accessible.rect().topLeft()), accessible.rect().size()),
            .item = item};
}

void walk(QAccessibleInterface* accessible, const QQuickWindow& window, std::vector<Control>& found) {
    if (!accessible || accessible->state().invisible) return;
    if (accessible->object() != &window) found.push_back(read(*accessible, window));
    for (int child = 0; child < accessible->childCount(); ++child)
        walk(accessible->child(child), window, found);
}

void walk(QQuickItem& item, std::vector<QQuickItem*>& labels) {
    if (!item.isVisible() || item.opacity() == 0) return;
    if (item.inherits("QQuickText")) labels.push_back(&item);
    for (QQuickItem* child : item.childItems())
        walk(*child, labels);
}

} // namespace

bool Control::isOperable() const {
    switch (role) {
    case QAccessible::Button:
    case QAccessible::CheckBox:
    case QAccessible::ComboBox:
    case QAccessible::EditableText:
    case QAccessible::ListItem:
    case QAccessible::MenuItem:
    case QAccessible::PageTab:
    case QAccessible::Slider:
        return true;
    default:
        return false;
    }
}

std::vector<Control> Page::controls() const {
    std::vector<Control> found;
    walk(QAccessible::queryAccessibleInterface(&window_), window_, found);
    return found;
}

Control Page::find(const QString& name) const {
    const auto all = controls();
    const auto found = std::ranges::find(all, name, &Control::name);
    if (found == all.end())
        throw std::runtime_error("There is no '" + name.toStdString() +
                                 "', but: " + names().join(", ").toStdString());
    return *found;
}

bool Page::has(const QString& name) const {
    return std::ranges::any_of(controls(), [&](const Control& control) { return control.name == name; });
}

QStringList Page::names() const {
    QStringList names;
    for (const Control& control : controls())
        names.append(control.name);
    return names;
}

QString Page::focused() const {
    for (QQuickItem* item = window_.activeFocusItem(); item; item = item->parentItem()) {
        QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(item);
        if (accessible && !accessible->text(QAccessible::Name).isEmpty())
            return accessible->text(QAccessible::Name);
    }
    return {};
}

std::vector<QQuickItem*> Page::labels() const {
    std::vector<QQuickItem*> labels;
    walk(*window_.contentItem(), labels);
    return labels;
}

bool Page::shows(const QString& text) const {
    return std::ranges::any_of(
        labels(), [&](const QQuickItem* label) { return label->property("text").toString().contains(text); });
}

void Page::click(const QString& name) {
    const Control control = find(name);
    const QPoint middle = control.place.center();
    if (!QRect(QPoint(), window_.size()).contains(middle))
        throw std::runtime_error("'" + name.toStdString() + "' is outside of its window");
    QTest::mouseMove(&window_, middle);
    QTest::mouseClick(&window_, Qt::LeftButton, {}, middle);
    settle_();
}

void Page::wheel(const QString& name, double notches) {
    const QPointF middle = find(name).place.center();
    QWheelEvent event(middle, window_.mapToGlobal(middle), {}, QPoint(0, std::lround(notches * 120)),
                      Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(&window_, &event);
    settle_();
}

void Page::dragTo(const QString& slider, double value) {
    const Control control = find(slider);
    constexpr int handle = 16;
    const auto point = [&](double at) {
        return QPoint(control.place.left() + handle / 2 +
                          static_cast<int>(std::lround(at * (control.place.width() - handle))),
                      control.place.center().y());
    };
    QTest::mousePress(&window_, Qt::LeftButton, {}, point(control.value));
    for (const double way : {0.25, 0.5, 0.75, 1.0})
        QTest::mouseMove(&window_, point(control.value + way * (value - control.value)));
    settle_();
    QTest::mouseRelease(&window_, Qt::LeftButton, {}, point(value));
    settle_();
}

void Page::key(Qt::Key key, Qt::KeyboardModifiers modifiers) {
    QTest::keyClick(&window_, key, modifiers);
    settle_();
}

void Page::type(const QString& text) {
    for (const QChar letter : text)
        QTest::sendKeyEvent(QTest::Click, &window_, Qt::Key_unknown, QString(letter), Qt::NoModifier);
    settle_();
}

void Page::tabTo(const QString& name) {
    QStringList visited;
    while (focused() != name) {
        if (visited.size() > 60)
            throw std::runtime_error("Tab does not reach '" + name.toStdString() +
                                     "', but: " + visited.join(", ").toStdString());
        visited.append(focused());
        key(Qt::Key_Tab);
    }
}

} // namespace velto
