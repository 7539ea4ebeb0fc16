// TrayStatusItem: the status item as a window in an XEmbed tray.
//
// A bare window, so that a resting program needs no widgets. Its ground is that of the tray, and the symbol
// is as light or dark as can be seen on it.
#pragma once

#include "Velto/Linux/TrayToolTip.h"
#include "Velto/Qt/StatusItem.h"

#include <QColor>
#include <QImage>
#include <QRasterWindow>
#include <QRect>

namespace velto {

class TrayStatusItem final : public QRasterWindow, public StatusItem {
  public:
    explicit TrayStatusItem(Handlers handlers);

    void setLook(const Look& look) override;
    QRect place() const override;
    bool eventFilter(QObject* object, QEvent* event) override;

  protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

  private:
    /// Asks the tray to take the window in; it shows it then.
    void dock();
    /// What the tray has where the item lies; null where that can't be told.
    QImage ground() const;
    QColor ink(const QImage& ground) const;

    Handlers handlers_;
    Look look_;
    TrayToolTip toolTip_;
    bool isDocked_ = false; // not before there is something to show
    bool isBlended_ = false;
};

} // namespace velto
