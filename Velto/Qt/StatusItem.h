// StatusItem: the program's item in the desktop's status area.
//
// Owned by VeltoApplication; main actor only. It shows what it is told and passes on what is done to it.
#pragma once

#include <QMenu>
#include <QObject>
#include <QRect>
#include <QString>
#include <QSystemTrayIcon>

#include <functional>

namespace velto {

class StatusItem final : public QObject {
    Q_OBJECT

  public:
    struct Handlers {
        /// Clicked. The item's place on the screen; empty where the desktop doesn't tell.
        std::function<void(const QRect&)> activated;
        /// The wheel was turned over it: up is positive, one notch is 1.
        std::function<void(double)> scrolled;
        std::function<void()> settingsChosen;
        std::function<void()> quitChosen;
    };

    /// Whether the desktop has a status area now.
    static bool isAvailable();

    explicit StatusItem(Handlers handlers);

    /// The name of a system symbol, and what is read out for it.
    void setLabel(const QString& symbol, const QString& accessibilityText);
    bool eventFilter(QObject* object, QEvent* event) override;

  private:
    Handlers handlers_;
    QMenu menu_;
    QSystemTrayIcon icon_;
    QString symbol_;
};

} // namespace velto
