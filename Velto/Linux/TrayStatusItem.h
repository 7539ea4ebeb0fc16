// TrayStatusItem: the status item as a window in an XEmbed tray.
//
// A bare window, so that a resting program needs no widgets: any click on it opens the panel, which has what
// other items have in a menu.
#pragma once

#include "Velto/Qt/StatusItem.h"

#include <QRasterWindow>
#include <QRect>
#include <QString>

namespace velto {

class TrayStatusItem final : public QRasterWindow, public StatusItem {
  public:
    explicit TrayStatusItem(Handlers handlers);

    void setLabel(const QString& symbol, const QString& accessibilityText) override;
    QRect place() const override { return {mapToGlobal(QPoint()), size()}; }
    bool eventFilter(QObject* object, QEvent* event) override;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

  private:
    /// Asks the tray to take the window in; it shows it then.
    void dock();

    Handlers handlers_;
    QString symbol_; // none before it was docked
    bool isBlended_ = false;
};

} // namespace velto
