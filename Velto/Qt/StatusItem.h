// StatusItem: the program's item in the desktop's status area.
//
// Owned by VeltoApplication; main actor only. It shows what it is told and passes on what is done to it.
#pragma once

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
        std::function<void()> settingsChosen;
        std::function<void()> quitChosen;
    };
    /// A line of the item's menu; a separator has no label.
    struct MenuEntry {
        QString label;
        std::function<void()> chosen;
    };

    virtual ~StatusItem() = default;

    /// The name of a system symbol, and what is read out for it.
    virtual void setLabel(const QString& symbol, const QString& accessibilityText) = 0;

    /// Where it is on the screen, as far as the desktop has told; else empty.
    virtual QRect place() const = 0;

    /// The menu of every item. The handlers must outlive it.
    static std::vector<MenuEntry> menuEntries(const Handlers& handlers);
};

/// Where the desktop shows status items. Owned by VeltoApplication.
class StatusArea {
  public:
    virtual ~StatusArea() = default;
    /// Null while the desktop has no status area.
    virtual std::unique_ptr<StatusItem> makeStatusItem(StatusItem::Handlers handlers) = 0;
};

} // namespace velto
