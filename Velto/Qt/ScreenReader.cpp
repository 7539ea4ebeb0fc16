#include "Velto/Qt/ScreenReader.h"

#include <QAccessible>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QTimer>
#include <QUrl>

#include <utility>

namespace velto {

namespace {

/// What Qt answers for an item, and that it is disabled; and the keyboard goes where a reader puts it.
class CompletedAnswers final : public QAccessibleInterface, public QAccessibleActionInterface {
  public:
    CompletedAnswers(QQuickItem& item, QAccessibleInterface& known) : item_(&item), known_(known) {
        QObject::connect(&item, &QQuickItem::enabledChanged, &item, [&item] {
            QAccessible::State changed;
            changed.disabled = 1;
            QAccessibleStateChangeEvent event(&item, changed);
            QAccessible::updateAccessibility(&event);
        });
    }

    QAccessible::State state() const override {
        QAccessible::State state = known_.state();
        state.disabled = !item_->isEnabled();
        return state;
    }

    void doAction(const QString& action) override {
        if (action == setFocusAction()) {
            item_->forceActiveFocus(Qt::OtherFocusReason);
        } else {
            known_.actionInterface()->doAction(action);
        }
    }
    QStringList actionNames() const override { return known_.actionInterface()->actionNames(); }
    QStringList keyBindingsForAction(const QString& action) const override {
        return known_.actionInterface()->keyBindingsForAction(action);
    }
    void* interface_cast(QAccessible::InterfaceType type) override {
        void* known = known_.interface_cast(type);
        return known && type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this)
                                                             : known;
    }

    bool isValid() const override { return item_ && known_.isValid(); }
    QObject* object() const override { return item_; }
    QWindow* window() const override { return known_.window(); }
    QList<std::pair<QAccessibleInterface*, QAccessible::Relation>>
    relations(QAccessible::Relation match) const override {
        return known_.relations(match);
    }
    QAccessibleInterface* focusChild() const override { return known_.focusChild(); }
    QAccessibleInterface* childAt(int x, int y) const override { return known_.childAt(x, y); }
    QAccessibleInterface* parent() const override { return known_.parent(); }
    QAccessibleInterface* child(int index) const override { return known_.child(index); }
    int childCount() const override { return known_.childCount(); }
    int indexOfChild(const QAccessibleInterface* child) const override { return known_.indexOfChild(child); }
    QString text(QAccessible::Text which) const override { return known_.text(which); }
    void setText(QAccessible::Text which, const QString& text) override { known_.setText(which, text); }
    QRect rect() const override { return known_.rect(); }
    QAccessible::Role role() const override { return known_.role(); }

  private:
    QPointer<QQuickItem> item_;
    QAccessibleInterface& known_; // Qt keeps it as long as the item
};

/// Asked for each class of an object in turn, before Qt's own are for the same class.
QAccessibleInterface* answersFor(const QString&, QObject* object) {
    static bool isAskingQt = false;
    auto* item = qobject_cast<QQuickItem*>(object);
    if (!item || isAskingQt) return nullptr;
    isAskingQt = true;
    // Of several answers for an object Qt uses those that it was given last: these.
    QAccessibleInterface* known = QAccessible::queryAccessibleInterface(item);
    isAskingQt = false;
    return known ? new CompletedAnswers(*item, *known) : nullptr;
}

} // namespace

void ScreenReader::completeAnswers() { QAccessible::installFactory(answersFor); }

void ScreenReader::moveTo(QQuickItem* item) {
    if (!item || !QAccessible::isActive()) return;
    QAccessibleEvent event(item, QAccessible::Focus);
    QAccessible::updateAccessibility(&event);
}

void ScreenReader::say(QQuickWindow* window, const QString& sentence) {
    if (sentence.isEmpty() || !window || !window->isVisible() || !QAccessible::isActive()) return;
    if (sentences_.isEmpty()) QTimer::singleShot(0, this, &ScreenReader::speak);
    window_ = window;
    sentences_.append(sentence);
}

/// Qt 6.4 has no announcements: what readers say aloud by themselves is a notification that is shown.
void ScreenReader::speak() {
    const QString words = std::exchange(sentences_, {}).join(QStringLiteral(". "));
    if (!window_) return;
    const QString name = QStringLiteral("announcement");
    auto* announcement = window_->contentItem()->findChild<QQuickItem*>(name, Qt::FindDirectChildrenOnly);
    if (!announcement) {
        QQmlComponent view(qmlEngine(window_), QUrl(QStringLiteral("qrc:/velto/Velto/Announcement.qml")));
        announcement = qobject_cast<QQuickItem*>(view.create());
        if (!announcement) return;
        announcement->setObjectName(name);
        announcement->setParent(window_->contentItem());
        announcement->setParentItem(window_->contentItem());
    }
    announcement->setVisible(false);
    announcement->setProperty("words", words);
    announcement->setVisible(true);
}

} // namespace velto
