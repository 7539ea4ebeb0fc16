// SettingsViewModel: what the settings window shows, and what its controls do.
//
// Owned by the root of the object graph; main actor only. Settings are read from and written to the
// preferences; its own are the reset's busy flag and the debug report, which is made anew at each reading.
#pragma once

#include "Velto/Shell/ChangeAnnouncer.h"
#include "Velto/Shell/SettingsRows.h"
#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Async/Task.h"
#include "VeltoCore/Async/TaskScope.h"
#include "VeltoCore/CoreAudio/AudioOutputDevice.h"
#include "VeltoCore/Devices/AudioDeviceManager.h"
#include "VeltoCore/Observation/Observable.h"
#include "VeltoCore/Services/ApplicationHost.h"
#include "VeltoCore/Session/DualOutputCoordinator.h"
#include "VeltoCore/Session/SystemAudioManager.h"
#include "VeltoCore/Settings/LaunchAtLoginManager.h"
#include "VeltoCore/Settings/PreferencesManager.h"
#include "VeltoCore/Sync/SyncProfileManager.h"
#include "VeltoCore/Sync/SyncTestPlayer.h"

#include <functional>
#include <optional>
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
                      DualOutputCoordinator& coordinator, SystemAudioManager& systemAudio,
                      AudioDeviceManager& deviceManager, ApplicationHost& host, MainActor& actor);
    SettingsViewModel(const SettingsViewModel&) = delete;
    SettingsViewModel& operator=(const SettingsViewModel&) = delete;

    /// Calls the handler when anything below may have changed, at most once a turn of the main loop.
    Subscription observe(std::function<void()> handler) { return changes_.observe(std::move(handler)); }

    // Launch at login

    bool launchAtLoginEnabled() const noexcept { return launchAtLogin_.isEnabled(); }
    void setLaunchAtLoginEnabled(bool isOn) { launchAtLogin_.setEnabled(isOn); }
    bool isLaunchAtLoginAvailable() const noexcept { return launchAtLogin_.isAvailable(); }
    /// Why it can't be had, what it waits for, or how the last change failed; none when all is well.
    std::optional<std::string> launchAtLoginNote() const;
    /// Whether the system's list of login items is worth a button.
    bool offersLoginItemsSettings() const noexcept { return launchAtLogin_.requiresApproval(); }
    void openLoginItemsSettings() { launchAtLogin_.openLoginItemsSettings(); }
    /// For when the window opens: the user may have changed it elsewhere.
    void refreshLaunchAtLogin() { launchAtLogin_.refresh(); }

    // Preferences. Choices are given by their raw values; one that there is not is ignored.

    bool showInDock() const noexcept { return preferences_.showInDock(); }
    /// Takes effect at once.
    void setShowInDock(bool isOn);
    bool rememberSelectedDevices() const noexcept { return preferences_.rememberSelectedDevices(); }
    void setRememberSelectedDevices(bool isOn) { preferences_.setRememberSelectedDevices(isOn); }
    bool autoConnect() const noexcept { return preferences_.autoConnect(); }
    void setAutoConnect(bool isOn) { preferences_.setAutoConnect(isOn); }
    bool autoReconnect() const noexcept { return preferences_.autoReconnect(); }
    void setAutoReconnect(bool isOn) { preferences_.setAutoReconnect(isOn); }
    bool rememberSyncProfiles() const noexcept { return preferences_.rememberSyncProfiles(); }
    void setRememberSyncProfiles(bool isOn) { preferences_.setRememberSyncProfiles(isOn); }
    /// As typed.
    const std::string& aggregateDeviceName() const noexcept { return preferences_.aggregateDeviceName(); }
    void setAggregateDeviceName(std::string name) { preferences_.setAggregateDeviceName(std::move(name)); }

    static std::vector<SettingChoice> disconnectBehaviorChoices();
    std::string disconnectBehavior() const;
    void setDisconnectBehavior(std::string_view rawValue);
    static std::vector<SettingChoice> clockStrategyChoices();
    std::string clockStrategy() const;
    void setClockStrategy(std::string_view rawValue);
    static std::vector<SampleRateChoice> preferredSampleRateChoices();
    /// In Hz; 0 for automatic.
    double preferredSampleRate() const;
    void setPreferredSampleRate(double rawValue);
    /// No output, under an empty raw value; those that are there; and the one chosen if it isn't.
    std::vector<SettingChoice> referenceDeviceChoices() const;
    /// A device's UID; empty for none.
    std::string defaultReferenceDeviceUID() const;
    void setDefaultReferenceDeviceUID(std::string uid);

    // Sync

    std::string_view syncEngineName() const { return coordinator_.syncEngine().name(); }
    /// From 0 to 1.
    double syncTestVolume() const noexcept { return preferences_.syncTestVolume(); }
    void setSyncTestVolume(double volume) { preferences_.setSyncTestVolume(static_cast<float>(volume)); }
    bool isSyncTestRunning() const noexcept { return syncTestPlayer_.isPlaying(); }
    void startSyncTest();
    void stopSyncTest() { syncTestPlayer_.stop(); }
    std::vector<SyncProfileRow> syncProfileRows() const;
    void removeSyncProfile(const std::string& id);

    // Reset

    bool isResetting() const noexcept { return isResetting_; }
    /// Nothing while one runs.
    Task<void> resetAudioConfiguration();
    /// The same, as a task of the model's own.
    void beginReset() { tasks_.spawn(resetAudioConfiguration()); }

    // Debug report

    std::string statusDescription() const;
    /// The session's; none without one.
    std::vector<AudioOutputDevice> selectedDevices() const;
    std::vector<DebugRow> debugRows() const;
    static std::vector<DebugRow> debugRows(const AudioOutputDevice& forDevice);
    /// Puts the report on the pasteboard.
    void copyDebugInfo();
    /// Whether it was ever copied.
    bool didCopyDebugInfo() const noexcept { return didCopyDebugInfo_; }

    // About

    std::string shortVersion() const;
    std::string buildNumber() const;

  private:
    std::string deviceName(const std::string& uid) const;
    std::vector<DebugRow> generalRows() const;
    std::vector<DebugRow> sessionRows() const;

    ChangeAnnouncer changes_;
    PreferencesManager& preferences_;
    LaunchAtLoginManager& launchAtLogin_;
    SyncProfileManager& syncProfiles_;
    SyncTestPlayer& syncTestPlayer_;
    DualOutputCoordinator& coordinator_;
    SystemAudioManager& systemAudio_;
    AudioDeviceManager& deviceManager_;
    ApplicationHost& host_;
    bool isResetting_ = false;
    bool didCopyDebugInfo_ = false;
    TaskScope tasks_; // dies first: its tasks use the others
};

} // namespace velto
