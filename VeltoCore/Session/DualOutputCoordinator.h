// DualOutputCoordinator: what the user interface talks to about playing together.
//
// Owned by the root of the object graph; main actor only. It turns what the user wants, and what happens to
// the devices, into operations of SystemAudioManager, and keeps what the user is shown of them. It never
// throws and changes neither outputs nor aggregates itself: failures end in lastError() and in the state.
//
// Races, decided here once:
// - A start or stop that comes while starting, stopping or rebuilding changes nothing at all. One that comes
//   during an abandon or a recovery waits for it, and is ignored likewise when another one got ahead.
// - Synchronous handlers never wait: they start tasks. Such a task knows which session it means, and does
//   nothing when that one doesn't run any more.
// - Device changes during a start, a rebuild or an abandon are only noted. When a start or rebuild ends well,
//   the devices (not the default output, which may still read old) are looked at once more.
// - There is no turn of the main loop between the end of an operation and the steps taken here after it:
//   whoever waited for it finds them done.
// - What reads as the default output before a switch of ours shows is nobody's choice. A switch that does not
//   show for 5 seconds is made once more; after another 5 the session ends.
// - A session that has lost all its outputs for 5 seconds ends, if sound could go elsewhere. Its pair is
//   started again when it is back, before Auto Connect, unless somebody wanted something else meanwhile.
// - Neither of these 5 seconds counts time asleep, or passes while the audio service does not answer.
// - Shutting down turns away all that is started later, waits for what runs, then ends the session.
#pragma once

#include "VeltoCore/Async/Cancellation.h"
#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Async/Task.h"
#include "VeltoCore/Async/TaskScope.h"
#include "VeltoCore/CoreAudio/AudioManagerError.h"
#include "VeltoCore/CoreAudio/AudioOutputDevice.h"
#include "VeltoCore/Devices/AudioDeviceManager.h"
#include "VeltoCore/Foundation/UUID.h"
#include "VeltoCore/Observation/Lifetime.h"
#include "VeltoCore/Observation/Observable.h"
#include "VeltoCore/Session/AudioSessionState.h"
#include "VeltoCore/Session/DualOutputSession.h"
#include "VeltoCore/Session/PreparationStep.h"
#include "VeltoCore/Session/RememberedPair.h"
#include "VeltoCore/Session/SystemAudioManager.h"
#include "VeltoCore/Session/VeltoStatus.h"
#include "VeltoCore/Settings/AudioPreset.h"
#include "VeltoCore/Settings/PreferencesManager.h"
#include "VeltoCore/Sync/SyncEngine.h"
#include "VeltoCore/Sync/SyncProfileManager.h"
#include "VeltoCore/Volume/DeviceVolumeController.h"

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <utility>

namespace velto {

class DualOutputCoordinator {
  public:
    /// All must outlive the coordinator, and the coordinator every task it has begun.
    DualOutputCoordinator(AudioDeviceManager& deviceManager, SystemAudioManager& systemAudio,
                          PreferencesManager& preferences, DeviceVolumeController& volumeController,
                          SyncEngine& syncEngine, SyncProfileManager& syncProfiles, MainActor& actor);
    DualOutputCoordinator(const DualOutputCoordinator&) = delete;
    DualOutputCoordinator& operator=(const DualOutputCoordinator&) = delete;

    // What the user is shown

    /// Calls the handler when the state, the status or any of the values below has really changed.
    Subscription observe(std::function<void()> handler) { return observers_.observe(std::move(handler)); }
    const AudioSessionState& state() const noexcept { return systemAudio_.state(); }
    VeltoStatus status() const;
    /// Absent when there is no error to show.
    const std::optional<AudioManagerError>& lastError() const noexcept { return lastError_; }
    /// While a session is being rebuilt.
    bool isReconnecting() const noexcept { return systemAudio_.isRebuilding(); }
    /// Absent when no start is under way.
    const std::optional<PreparationStep>& preparationStep() const noexcept { return preparationStep_; }
    /// The lost output about which the user is to be asked; the question makes sense while degraded.
    const std::optional<AudioOutputDevice>& pendingDisconnectDecision() const noexcept {
        return pendingDisconnectDecision_;
    }
    /// The preset that the running session was started from or saved as.
    const std::optional<UUID>& activePresetID() const noexcept { return activePresetID_; }

    SyncEngine& syncEngine() const noexcept { return syncEngine_; }
    /// The profile of the session's outputs.
    std::optional<SyncProfile> currentSyncProfile() const;
    /// Whether corrections can be made while playing.
    bool canAdjustSync() const noexcept { return syncEngine_.capabilities().supportsPerDeviceDelay; }

    // The program's life

    /// At launch, once: cleans up after an earlier run, then follows the devices.
    Task<void> start();
    /// At quit, once: puts the outputs back. A failure is only logged.
    Task<void> shutdown();
    /// For when shutdown() can only follow in a later turn: turns away from now on all that would be started.
    void beginShutdown() noexcept { isShuttingDown_ = true; }
    /// After the machine woke: rebuilds a session that did not survive.
    void handleWake();
    /// When the audio service answers again: as after a wake; and what got no answer is cleaned up after.
    void handleServiceRestart();

    // What the user does

    Task<void> startDualOutput(AudioOutputDevice first, AudioOutputDevice second);
    /// Plays on the preset's outputs, with its settings.
    Task<void> activatePreset(AudioPreset preset);
    Task<void> stopDualOutput();
    /// Stops, and removes whatever is left of this or an earlier session.
    Task<void> resetAudioConfiguration();
    /// Rebuilds the running session from scratch, with its outputs as they are now. With an output missing,
    /// or without an answer, the session stays as it is.
    Task<void> reconnect();
    /// The answer to pendingDisconnectDecision().
    Task<void> resolveDisconnect(bool keepPlaying);
    void dismissError();

    /// Saves the session with its volumes as a new preset, which is the active one from then on. None
    /// without a session.
    std::optional<AudioPreset> saveCurrentSessionAsPreset(std::string named);
    /// Takes the session's volumes over into the active preset, which is written when they differ; nothing
    /// while an output is missing. Every adjustment does it.
    void updateActivePresetSettings();

  private:
    using Settings = DeviceVolumeController::Settings;

    Task<void> startSession(AudioOutputDevice first, AudioOutputDevice second, std::optional<UUID> presetID,
                            Settings settings);
    Task<void> startSystemAudio(AudioOutputDevice first, AudioOutputDevice second,
                                SystemAudioManager::ProgressHandler progress);
    void startSucceeded(const AudioOutputDevice& first, const AudioOutputDevice& second,
                        std::optional<UUID> presetID, const Settings& settings);
    Task<void> stopSession();
    Task<void> recover();
    /// After a session has ended or could not be made.
    void sessionChanged();
    void syncVolumeTracking();
    Task<void> rebuild(DualOutputSession session);
    std::optional<double> preferredSampleRate() const;
    void noteSettings();
    bool isBusy() const noexcept { return state().isBusy(); }

    // Events (DualOutputCoordinatorEvents.cpp)

    void handleDevicesChanged();
    /// True when somebody else chose another output: the session is being given up.
    bool wasSwitchedAway(const DualOutputSession& session);
    void checkSessionDevices();
    void checkSessionDevicesIfMissed();
    void forgetAnsweredQuestion();
    bool isAllLost() const;
    bool canEndForLoss() const;
    static void end(std::optional<CancellationSource>& wait);
    void endWaits() {
        end(lossWait_);
        end(switchWait_);
    }
    void watchForLoss();
    void watchSwitch();
    bool startRememberedPair();
    void applyDisconnectBehavior(const AudioOutputDevice& missing);
    void evaluateAutoConnect(const std::set<std::string>& connected, const std::set<std::string>& previous);
    Task<void> abandon(DualOutputSession session);
    Task<void> stopAfterDisconnect(DualOutputSession session);
    Task<void> reconnectAfterReturn(DualOutputSession session);
    Task<void> repair(DualOutputSession session);
    Task<void> endAfterLoss(DualOutputSession session, CancellationToken token);
    Task<void> confirmSwitch(DualOutputSession session, CancellationToken token);
    Task<void> startAgain(RememberedPair::Content pair);
    Task<void> autoConnect(UUID presetID);
    bool isRunning(const DualOutputSession& session) const { return systemAudio_.activeSession() == session; }

    /// Changes what the user is shown; tells observers when it differs.
    template <class T>
    void show(T& shown, T value) {
        if (shown == value) return;
        shown = std::move(value);
        observers_.notify();
    }

    AudioDeviceManager& deviceManager_;
    SystemAudioManager& systemAudio_;
    PreferencesManager& preferences_;
    DeviceVolumeController& volumeController_;
    SyncEngine& syncEngine_;
    SyncProfileManager& syncProfiles_;
    MainActor& actor_;

    std::optional<AudioManagerError> lastError_;
    std::optional<PreparationStep> preparationStep_;
    std::optional<AudioOutputDevice> pendingDisconnectDecision_;
    std::optional<UUID> activePresetID_;
    ObserverList observers_;

    Subscription changesSubscription_;
    Subscription stateSubscription_;
    Subscription devicesSubscription_;
    Subscription volumeSubscription_;
    /// At the last device change; absent as long as the devices could never be read: nothing is new then.
    std::optional<std::set<std::string>> previousConnectedUIDs_;
    /// From the decision to give the session up until that is done.
    bool isAbandoning_ = false;
    bool isResetting_ = false;
    bool isShuttingDown_ = false;
    RememberedPair rememberedPair_;
    /// Of the session's outputs, also of those that have gone meanwhile.
    Settings sessionSettings_;
    /// Present while they wait.
    std::optional<CancellationSource> lossWait_;
    std::optional<CancellationSource> switchWait_;
    /// Device changes came that were only noted.
    bool hasMissedChanges_ = false;
    Lifetime lifetime_;
    TaskScope tasks_; // dies first: its tasks use all the others
};

} // namespace velto
