// StatusArea: where the desktop shows status items, and of which kind it is.
//
// Owned by VeltoApplication; main actor only. It never polls: buses and X11 servers tell when one comes or
// goes.
#pragma once

#include "Velto/Qt/X11SystemTray.h"

#include <QDBusServiceWatcher>
#include <QObject>

#include <cstdint>
#include <functional>
#include <memory>

namespace velto {

class StatusArea final : public QObject {
    Q_OBJECT

  public:
    enum class Kind {
        none,
        /// Items are objects on the session's bus.
        notifier,
        /// Items are X11 windows in an XEmbed tray.
        tray,
    };

    /// Whom items of the notifier kind make themselves known to.
    static constexpr const char* notifierService = "org.kde.StatusNotifierWatcher";

    /// The handler is called, from the main loop, when the kind may have changed.
    explicit StatusArea(std::function<void()> changed);

    Kind kind() const;
    /// Tells one tray from another that has taken its place; 0 unless the kind is a tray.
    std::uint32_t trayWindow() const { return kind() == Kind::tray ? tray_.window() : 0; }

  private:
    std::unique_ptr<QDBusServiceWatcher> notifierWatcher_; // none without a bus
    bool hasNotifier_ = false;
    X11SystemTray tray_;
};

} // namespace velto
