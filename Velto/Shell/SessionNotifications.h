// SessionNotifications: lets the user know what happened by itself while the panel is closed.
//
// Owned by the root of the object graph; main actor only. What is shown is taken back when it is no more so,
// or when the panel opens, which tells it better. The rule who is told what is the coordinator's.
#pragma once

#include "Velto/Shell/MenuBarViewModel.h"
#include "VeltoCore/Observation/Observable.h"
#include "VeltoCore/Services/NotificationService.h"
#include "VeltoCore/Session/DualOutputCoordinator.h"
#include "VeltoCore/Session/SessionEvent.h"
#include "VeltoCore/Settings/PreferencesManager.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace velto {

class SessionNotifications {
  public:
    /// All must outlive it.
    SessionNotifications(DualOutputCoordinator& coordinator, MenuBarViewModel& menuBar,
                         PreferencesManager& preferences, NotificationService& service);
    SessionNotifications(const SessionNotifications&) = delete;
    SessionNotifications& operator=(const SessionNotifications&) = delete;
    ~SessionNotifications();

    /// Whether the user has the panel before him.
    void setIsPanelOpen(bool isOpen);

    /// Called when the user clicks on a notification itself; empty for nothing.
    void setOpenHandler(std::function<void()> open) { open_ = std::move(open); }
    /// For who has asked for a window that can't be had: a sentence that says why.
    void tellMissingWindows(const std::string& reason);

    /// How an event reads.
    static Notification notification(const SessionEvent& ofEvent);

  private:
    void happened(const SessionEvent& event);
    void show(Notification notification);
    void answered(std::string_view key);
    bool isStillSo() const;
    void withdrawIfOver();

    DualOutputCoordinator& coordinator_;
    MenuBarViewModel& menuBar_;
    PreferencesManager& preferences_;
    NotificationService& service_;
    std::function<void()> open_;
    bool isPanelOpen_ = false;
    std::optional<SessionEvent::Kind> shown_; // none once it was withdrawn
    Subscription coordinatorSubscription_;
    Subscription switchSubscription_;
};

} // namespace velto
