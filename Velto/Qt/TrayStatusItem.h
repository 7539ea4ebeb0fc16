// TrayStatusItem: the status item as a window in an XEmbed tray.
//
// Made only while the desktop has no status area on the bus: Qt's class would go there and lose half of what
// is done to the item.
#pragma once

#include "Velto/Qt/StatusItem.h"

#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>

namespace velto {

class TrayStatusItem final : public QObject, public StatusItem {
    Q_OBJECT

  public:
    explicit TrayStatusItem(Handlers handlers);

    void setLabel(const QString& symbol, const QString& accessibilityText) override;
    QRect place() const override { return icon_.geometry(); }
    bool eventFilter(QObject* object, QEvent* event) override;

  private:
    void draw();

    Handlers handlers_;
    QMenu menu_;
    QSystemTrayIcon icon_;
    QString symbol_;
};

} // namespace velto
