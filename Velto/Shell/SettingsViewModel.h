// SettingsViewModel: what the settings window shows, and what its controls do.
//
// Owned by the root of the object graph; main actor only. The settings are its list; its own is the reset's
// busy flag.
#pragma once

#include "Velto/Shell/ChangeAnnouncer.h"
#include "Velto/Shell/DebugReport.h"
#include "Velto/Shell/SettingsList.h"
#include "Velto/Shell/SettingsRows.h"
#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Async/Task.h"
#include "VeltoCore/Async/TaskScope.h"
#include "VeltoCore/Devices/AudioDeviceManager.h"
#include "VeltoCore/Observation/Observable.h"
#include "VeltoCore/Services/ApplicationHost.h"
#include "VeltoCore/Services/GlobalShortcutService.h"
#include "VeltoCore/Session/DualOutputCoordinator.h"
#include "VeltoCore/Settings/LaunchAtLoginManager.h"
#include "VeltoCore/Settings/PreferencesManager.h"
#include "VeltoCore/Sync/SyncProfileManager.h"
#include "VeltoCore/Sync/SyncTestPlayer.h"

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velto {

class SettingsViewModel {
  public:
    /// All must outlive the model.
    SettingsViewModel(PreferencesManager& preferences, LaunchAtLoginManager& launchAtLogin,
                      SyncProfileManager& syncProfiles, SyncTestPlayer& syncTestPlayer,
                      DualOutputCoordinator& coordinator, AudioDeviceManager& deviceManager,
                      ApplicationHost& host, GlobalShortcutService* shortcuts, MainActor& actor);
    SettingsViewModel(const SettingsViewModel&) = delete;
    SettingsViewModel& operator=(const SettingsViewModel&) = delete;

    /// Calls the handler when anything below may have changed, at most once a turn of the main loop.
    Subscription observe(std::function<void()> handler) { return changes_.observe(std::move(handler)); }

    // Settings

    SettingsList& list() noexcept { return list_; }
    const SettingsList& list() const noexcept { return list_; }
    /// For when the window opens: the user may have changed it elsewhere.
    void refreshLaunchAtLogin() { launchAtLogin_.refresh(); }
    /// For when the window opens: whether the desktop has global shortcuts.
    void inquireShortcuts();

    // Sync

    static constexpr std::string_view syncTestHelp =
        "Plays a click for six seconds, so that you hear whether your outputs are in step.";
    std::string_view syncEngineName() const { return coordinator_.syncEngine().name(); }
    std::string_view syncEngineHelp() const { return coordinator_.syncEngine().explanation(); }
    bool isSyncTestRunning() const noexcept { return syncTestPlayer_.isPlaying(); }
    void startSyncTest();
    void stopSyncTest() { syncTestPlayer_.stop(); }
    std::vector<SyncProfileRow> syncProfileRows() const;
    void removeSyncProfile(const std::string& id);

    // Reset

    static constexpr std::string_view resetHelp =
        "Stops playing together and removes whatever is left of this or an earlier session.";
    bool isResetting() const noexcept { return isResetting_; }
    /// Nothing while one runs.
    Task<void> resetAudioConfiguration();
    /// The same, as a task of the model's own.
    void beginReset() { tasks_.spawn(resetAudioConfiguration()); }

    // Debug report

    const DebugReport& report() const noexcept { return report_; }
    /// Puts it on the pasteboard.
    void copyDebugInfo() { copy(report_.text()); }
    /// The same without the names and UIDs of outputs.
    void copyRedactedDebugInfo() { copy(report_.redactedText()); }
    /// Whether that was just now: for as long as it takes to read that it was.
    bool justCopiedDebugInfo() const noexcept { return justCopiedDebugInfo_; }
    /// Whether it was ever copied.
    bool didCopyDebugInfo() const noexcept { return didCopyDebugInfo_; }

    // About

    std::string shortVersion() const;
    std::string buildNumber() const;
    /// Of what the program comes with.
    std::span<const PlatformWords::Licence> licences() const { return host_.words().licences; }

  private:
    void copy(const std::string& report);
    Task<void> tellOfCopy();

    ChangeAnnouncer changes_;
    PreferencesManager& preferences_;
    LaunchAtLoginManager& launchAtLogin_;
    SyncProfileManager& syncProfiles_;
    SyncTestPlayer& syncTestPlayer_;
    DualOutputCoordinator& coordinator_;
    ApplicationHost& host_;
    MainActor& actor_;
    GlobalShortcutService* shortcuts_; // may be null
    SettingsList list_;
    DebugReport report_;
    bool isResetting_ = false;
    bool didCopyDebugInfo_ = false;
    bool justCopiedDebugInfo_ = false;
    int copyCount_ = 0;
    TaskScope tasks_; // dies first: its tasks use the others
};

} // namespace velto
