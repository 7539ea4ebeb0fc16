// DesktopStatusArea: the status area of a Linux desktop, of whichever kind it has.
//
// Owned by VeltoApplication; main actor only. It never polls: buses and X11 servers tell when one comes or
// goes.
#pragma once

#include "Velto/Linux/X11SystemTray.h"
#include "Velto/Qt/StatusItem.h"

#include <QDBusServiceWatcher>
#include <QObject>

#include <cstdint>
#include <functional>
#include <memory>

namespace velto {

class DesktopStatusArea final : public QObject, public StatusArea {
    Q_OBJECT

  public:
    /// The handler is called, from the main loop, when the area has come or gone, or another took its place.
    explicit DesktopStatusArea(std::function<void()> changed);

    std::unique_ptr<StatusItem> makeStatusItem(StatusItem::Handlers handlers) override;

  private Q_SLOTS:
    /// A watcher only keeps a list: whether somebody draws the items of it, it knows.
    void askForHost();

  private:
    enum class Kind {
        none,
        /// Items are objects on the session's bus.
        notifier,
        /// Items are X11 windows in an XEmbed tray.
        tray,
    };
    struct Area {
        Kind kind = Kind::none;
        std::uint32_t trayWindow = 0; // tells one tray from another that has taken its place

        friend bool operator==(const Area&, const Area&) = default;
    };

    Area area() const;
    void reconsider();

    std::function<void()> changed_;
    std::unique_ptr<QDBusServiceWatcher> notifierWatcher_; // none without a bus
    bool hasNotifier_ = false;                             // a watcher, and somebody who draws
    int openQuestions_ = 0;                                // while one is, nothing changes
    X11SystemTray tray_;
    Area known_;
};

} // namespace velto
