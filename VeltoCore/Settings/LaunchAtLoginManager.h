// LaunchAtLoginManager: registers the program as a login item, and tells what the platform made of it.
//
// Owned by the root of the object graph; main actor only. It never throws: a change that fails is logged and
// kept in lastError(), and the flags show what the platform really has.
#pragma once

#include "VeltoCore/Observation/Observable.h"
#include "VeltoCore/Services/LoginItemService.h"

#include <functional>
#include <optional>
#include <string>

namespace velto {

class LaunchAtLoginManager {
  public:
    /// Reads the status once. The service must outlive the manager.
    explicit LaunchAtLoginManager(LoginItemService& service);
    LaunchAtLoginManager(const LaunchAtLoginManager&) = delete;
    LaunchAtLoginManager& operator=(const LaunchAtLoginManager&) = delete;

    /// Whether the login item is registered and takes effect.
    bool isEnabled() const noexcept { return isEnabled_.value(); }
    /// Whether it is registered, and waits for the user's approval in the system's settings.
    bool requiresApproval() const noexcept { return requiresApproval_.value(); }
    /// Why the last change failed; none after a success.
    const std::optional<std::string>& lastError() const noexcept { return lastError_.value(); }
    /// Whether the program can be registered at all, from where it runs.
    bool isAvailable() const noexcept { return service_.isAvailable(); }

    Subscription observeIsEnabled(std::function<void()> handler);
    Subscription observeRequiresApproval(std::function<void()> handler);
    Subscription observeLastError(std::function<void()> handler);

    /// Reads the status again: the user may have changed it elsewhere.
    void refresh();
    void setEnabled(bool isOn);
    void openLoginItemsSettings();

  private:
    LoginItemService& service_;
    Observable<bool> isEnabled_;
    Observable<bool> requiresApproval_;
    Observable<std::optional<std::string>> lastError_;
};

} // namespace velto
