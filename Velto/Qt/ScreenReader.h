// ScreenReader: tells a screen reader what Qt 6.4 leaves untold of views.
//
// Owned by the user interface; main actor only. Qt says what stands in a window and which control has the
// keyboard. It does not say what is disabled, which row of a list is reached while the box that opened it
// keeps the keyboard, nor what happens where the keyboard is not. While no screen reader is there it makes
// nothing and sends nothing.
#pragma once

#include <QObject>
#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>
#include <QStringList>

namespace velto {

class ScreenReader final : public QObject {
    Q_OBJECT

  public:
    /// Items that are made from now on tell that they are disabled. Qt's own answers must be installed by
    /// then.
    static void completeAnswers();

    /// A row, or what has the keyboard, is where the reader shall be.
    Q_INVOKABLE static void moveTo(QQuickItem* item);
    /// Says a sentence aloud, after what is said in the same turn; nothing of a window that is not shown.
    Q_INVOKABLE void say(QQuickWindow* window, const QString& sentence);

  private:
    void speak();

    QPointer<QQuickWindow> window_; // that is to say the following
    QStringList sentences_;
};

} // namespace velto
