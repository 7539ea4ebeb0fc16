// KeyboardFocus: keeps the keyboard of each window on something that can be seen.
//
// Owned by the user interface; main actor only. Qt leaves the keyboard with a control that is hidden, which
// then goes on acting: here it goes on to where it was before, or else to where the window says that it
// belongs (its function focusHome()). What gets the keyboard is scrolled into view. Which control has it is
// shown from the first key on, until the mouse is used.
#pragma once

#include <QMetaObject>
#include <QObject>
#include <QQuickItem>
#include <QQuickWindow>

namespace velto {

class KeyboardFocus final : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isShown READ isShown NOTIFY isShownChanged)

  public:
    KeyboardFocus();

    /// From now on, as long as the window lives.
    void follow(QQuickWindow& window);
    /// Puts the keyboard where it belongs in a window that opens: as by mouse, until a key is pressed.
    void beginIn(QQuickWindow& window);
    bool isShown() const noexcept { return isShown_; }

    bool eventFilter(QObject* object, QEvent* event) override;

  Q_SIGNALS:
    void isShownChanged();

  private:
    void setIsShown(bool isShown);
    void moved(QQuickWindow& window);
    static void settle(QQuickWindow& window);

    QMetaObject::Connection hiding_; // of what has the keyboard
    bool isShown_ = false;
};

} // namespace velto
