// Page: a window as a person has it before them: controls by the names that are read out, mouse and keys.
//
// Short-lived, made by WindowTest. Every verb is a real event of the window, and waits until its effects are
// over. What isn't there, or can't be seen, throws std::runtime_error with the names of what is.
#pragma once

#include <QAccessible>
#include <QImage>
#include <QQuickItem>
#include <QQuickWindow>
#include <QRect>
#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

namespace velto {

struct Control {
    QAccessible::Role role = QAccessible::NoRole;
    QString name;
    QString description;
    /// Of a slider, from 0 to 1; NaN for controls without a value.
    double value = 0;
    bool isEnabled = true;
    bool isChecked = false;
    bool isOffscreen = false;
    /// In the window.
    QRect place;
    QQuickItem* item = nullptr;

    /// Something to click, type in or turn; not a label, group or list.
    bool isOperable() const;
};

class Page {
  public:
    Page(QQuickWindow& window, std::function<void()> settle) : window_(window), settle_(std::move(settle)) {}

    QQuickWindow& window() const { return window_; }

    // Looking

    /// What a screen reader meets, in its order.
    std::vector<Control> controls() const;
    Control find(const QString& name) const;
    bool has(const QString& name) const;
    QStringList names() const;
    /// Name of the control that has the keyboard; empty for none.
    QString focused() const;
    /// The words that can be seen, as far as they are labels.
    std::vector<QQuickItem*> labels() const;
    bool shows(const QString& text) const;
    QImage picture() const { return window_.grabWindow(); }

    // Verbs

    void click(const QString& name);
    /// Turns the wheel over a control: up is positive, one notch is 1.
    void wheel(const QString& name, double notches);
    /// Drags a slider's handle to a value from 0 to 1.
    void dragTo(const QString& slider, double value);
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void type(const QString& text);
    /// Goes on by Tab until the control has the keyboard.
    void tabTo(const QString& name);

  private:
    QQuickWindow& window_;
    std::function<void()> settle_;
};

} // namespace velto
