// GlobalShortcuts: keys that play or stop, and mute, in whichever program the user is.
//
// Owned by the root of the object graph; main actor only. Bound while the setting says so: a desktop may ask
// its user, so nobody is asked before.
#pragma once

#include "Velto/Shell/MenuBarViewModel.h"
#include "VeltoCore/Observation/Observable.h"
#include "VeltoCore/Services/GlobalShortcutService.h"
#include "VeltoCore/Settings/PreferencesManager.h"

#include <string>
#include <string_view>

namespace velto {

class GlobalShortcuts {
  public:
    /// All must outlive it. Without a service there are none, and no setting of them.
    GlobalShortcuts(GlobalShortcutService* service, MenuBarViewModel& menuBar,
                    PreferencesManager& preferences);
    GlobalShortcuts(const GlobalShortcuts&) = delete;
    GlobalShortcuts& operator=(const GlobalShortcuts&) = delete;

    /// Once, at launch: binds them if they are wanted.
    void start();
    /// At quit.
    void stop();

    /// What there is to say of them beside their switch.
    static std::string help(const GlobalShortcutService& service);

  private:
    void follow();
    void pressed(std::string_view id);

    GlobalShortcutService* service_; // may be null
    MenuBarViewModel& menuBar_;
    PreferencesManager& preferences_;
    Subscription settingSubscription_; // none before the start
};

} // namespace velto
