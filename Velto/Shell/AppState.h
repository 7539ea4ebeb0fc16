// AppState: the root of the object graph.
//
// One for the life of the program, made by AppDelegate; main actor only. It owns every component and makes
// them all at once, in the order in which they depend on each other; nothing is made later but short-lived
// tasks and the welcome window.
#pragma once

#include "Velto/Shell/AlignmentViewModel.h"
#include "Velto/Shell/AppLifecycleController.h"
#include "Velto/Shell/AudioServiceMonitor.h"
#include "Velto/Shell/GlobalShortcuts.h"
#include "Velto/Shell/InStepViewModel.h"
#include "Velto/Shell/MenuBarViewModel.h"
#include "Velto/Shell/PlatformServices.h"
#include "Velto/Shell/PresetViewModel.h"
#include "Velto/Shell/SessionNotifications.h"
#include "Velto/Shell/SettingsViewModel.h"
#include "VeltoCore/Aggregate/AggregateDeviceManager.h"
#include "VeltoCore/Async/Task.h"
#include "VeltoCore/Devices/AudioDeviceManager.h"
#include "VeltoCore/Observation/Observable.h"
#include "VeltoCore/Session/DualOutputCoordinator.h"
#include "VeltoCore/Session/SessionAlignment.h"
#include "VeltoCore/Session/SystemAudioManager.h"
#include "VeltoCore/Settings/LaunchAtLoginManager.h"
#include "VeltoCore/Settings/PreferencesManager.h"
#include "VeltoCore/Sync/SyncEngine.h"
#include "VeltoCore/Sync/SyncProfileManager.h"
#include "VeltoCore/Sync/SyncTestPlayer.h"
#include "VeltoCore/Volume/DeviceVolumeController.h"

#include <functional>
#include <memory>
#include <utility>

namespace velto {

class AppState {
  public:
    explicit AppState(PlatformServices platform);
    AppState(const AppState&) = delete;
    AppState& operator=(const AppState&) = delete;

    PreferencesManager& preferences() noexcept { return preferences_; }
    AudioDeviceManager& deviceManager() noexcept { return deviceManager_; }
    AggregateDeviceManager& aggregateManager() noexcept { return aggregateManager_; }
    SystemAudioManager& systemAudio() noexcept { return systemAudio_; }
    DualOutputCoordinator& coordinator() noexcept { return coordinator_; }
    SessionAlignment& alignment() noexcept { return alignment_; }
    LaunchAtLoginManager& launchAtLogin() noexcept { return launchAtLogin_; }
    SyncProfileManager& syncProfiles() noexcept { return syncProfiles_; }
    SyncTestPlayer& syncTestPlayer() noexcept { return syncTestPlayer_; }
    MenuBarViewModel& menuBar() noexcept { return menuBar_; }
    InStepViewModel& inStep() noexcept { return inStep_; }
    AlignmentViewModel& aligning() noexcept { return aligning_; }
    SettingsViewModel& settings() noexcept { return settings_; }
    PresetViewModel& presets() noexcept { return presets_; }
    AppLifecycleController& lifecycle() noexcept { return lifecycle_; }
    SessionNotifications& notifications() noexcept { return notifications_; }

    DeviceVolumeController& volumeController() noexcept { return volumeController_; }
    AudioServiceMonitor& audioServiceMonitor() noexcept { return audioServiceMonitor_; }
    ApplicationHost& host() noexcept { return platform_.host; }
    MainActor& actor() noexcept { return platform_.actor; }

    /// Once: cleans up after an earlier run, then follows devices, sleep and the audio service.
    Task<void> launch();
    /// Whether all of that has been done.
    bool isLaunched() const noexcept { return isLaunched_.value(); }
    Subscription observeLaunch(std::function<void()> handler) {
        return isLaunched_.observe(std::move(handler));
    }
    /// At once: from now on nothing is started any more.
    void beginTermination() noexcept { coordinator_.beginShutdown(); }
    /// Once: ends all that runs, and puts the system's outputs back.
    Task<void> prepareForTermination();
    /// Whether the program is about to end.
    bool isShuttingDown() const noexcept { return coordinator_.isShuttingDown(); }

  private:
    PlatformServices platform_;
    PreferencesManager preferences_;
    AudioDeviceManager deviceManager_;
    AggregateDeviceManager aggregateManager_;
    SystemAudioManager systemAudio_;
    SyncProfileManager syncProfiles_;
    DeviceVolumeController volumeController_;
    std::unique_ptr<SyncEngine> syncEngine_;
    DualOutputCoordinator coordinator_;
    SessionAlignment alignment_;
    AudioServiceMonitor audioServiceMonitor_;
    LaunchAtLoginManager launchAtLogin_;
    std::unique_ptr<AudioEngine> audioEngine_;
    SyncTestPlayer syncTestPlayer_;
    PresetViewModel presets_;
    MenuBarViewModel menuBar_;
    InStepViewModel inStep_;
    AlignmentViewModel aligning_;
    SettingsViewModel settings_;
    AppLifecycleController lifecycle_;
    SessionNotifications notifications_;
    GlobalShortcuts shortcuts_;
    Observable<bool> isLaunched_;
};

} // namespace velto
