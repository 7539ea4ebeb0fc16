// StatusItem: the program's item in the desktop's status area.
//
// Owned by VeltoApplication; main actor only. It shows what it is told and passes on what is done to it.
#pragma once

#include "Velto/Shell/StatusItemViewModel.h"

#include <QRect>
#include <QString>

#include <functional>
#include <memory>
#include <vector>

namespace velto {

class StatusItem {
  public:
    struct Handlers {
        /// Clicked. The item's place on the screen; empty where the desktop doesn't tell.
        std::function<void(const QRect&)> activated;
        /// The wheel was turned over it: up is positive, one notch is 1.
        std::function<void(double)> scrolled;
        /// What its menu has now.
        std::function<std::vector<StatusMenuEntry>()> menu;
        /// Its menu is to be shown there, by the program: for desktops that show none.
        std::function<void(const QRect&)> menuWanted;
        std::function<void()> quitChosen;
    };
    struct Look {
        StatusItemForm form = StatusItemForm::idle;
        /// What is read out for it.
        QString accessibilityText;
        QString toolTip;

        friend bool operator==(const Look&, const Look&) = default;
    };

    virtual ~StatusItem() = default;

    virtual void setLook(const Look& look) = 0;
    /// The menu may have become another one. Menus that are made when they are shown need not know.
    virtual void menuChanged() {}

    /// Where it is on the screen, as far as the desktop has told; else empty.
    virtual QRect place() const = 0;
};

/// Where the desktop shows status items. Owned by VeltoApplication.
class StatusArea {
  public:
    virtual ~StatusArea() = default;
    /// Null while the desktop has no status area.
    virtual std::unique_ptr<StatusItem> makeStatusItem(StatusItem::Handlers handlers) = 0;
};

} // namespace velto
