// TrayToolTip: the words beside the status item in an XEmbed tray, which has none of its own.
//
// Owned by TrayStatusItem; main actor only. A bare window: shown while the pointer rests on the item, a
// moment after it came and for no longer than it takes to read.
#pragma once

#include <QRasterWindow>
#include <QRect>
#include <QString>
#include <QTimer>

namespace velto {

class TrayToolTip final : public QRasterWindow {
  public:
    TrayToolTip();

    /// Also while it is shown.
    void setText(const QString& text);
    /// Shows it in a moment, beside the item's place on the screen.
    void showBeside(const QRect& item);
    void vanish();

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    void fit();

    QString text_;
    QRect item_;
    QTimer delay_;
    QTimer reading_; // while it is shown
};

} // namespace velto
