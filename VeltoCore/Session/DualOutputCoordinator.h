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
//   nothing when that one doesn't run any more. To give a session up is under way from the decision on.
// - Device changes during a start, a rebuild or an abandon are left alone. When a start or rebuild has ended
//   well, outputs that went meanwhile are seen to (not the default output, which may still read old).
// - There is no turn of the main loop between the end of an operation and the steps taken here after it:
//   whoever waited for it finds them done.
// - What reads as the default output before a switch of ours shows is nobody's choice, nor is what the system
//   falls back to when the audio service was restarted without the aggregate. A session whose switch does not
//   show ends, and so does one that plays nowhere, each after its time (SessionWaits).
// - The pair of a session that was lost is started again when it is back, before Auto Connect, unless
//   somebody wanted something else meanwhile.
// - Shutting down turns away all that is started later, waits for what runs, then ends the session.
#pragma once

#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Async/Task.h"
#include "VeltoCore/Async/TaskScope.h"
#include "VeltoCore/CoreAudio/AudioManagerError.h"
#include "VeltoCore/CoreAudio/AudioOutputDevice.h"
#include "VeltoCore/Devices/AudioDeviceManager.h"
#include "VeltoCore/Foundation/UUID.h"
#include "VeltoCore/Observation/Lifetime.h"
#include "VeltoCore/Observation/Observable.h"
#include "VeltoCore/Services/PlatformWords.h"
#include "VeltoCore/Session/AudioSessionState.h"
#include "VeltoCore/Session/DualOutputSession.h"
#include "VeltoCore/Session/PreparationStep.h"
#include "VeltoCore/Session/RememberedPair.h"
#include "VeltoCore/Session/SessionEvent.h"
#include "VeltoCore/Session/SessionPreset.h"
#include "VeltoCore/Session/SessionSync.h"
#include "VeltoCore/Session/SessionWaits.h"
#include "VeltoCore/Session/SystemAudioManager.h"
#include "VeltoCore/Session/VeltoStatus.h"
#include "VeltoCore/Settings/AudioPreset.h"
#include "VeltoCore/Settings/AutoConnect.h"
#include "VeltoCore/Settings/PreferencesManager.h"
#include "VeltoCore/Sync/SyncEngine.h"
#include "VeltoCore/Sync/SyncProfileManager.h"
#include "VeltoCore/Volume/DeviceVolumeController.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

namespace velto {

class DualOutputCoordinator {
  public:
    /// All must outlive the coordinator, and the coordinator every task it has begun.
    DualOutputCoordinator(AudioDeviceManager& deviceManager, SystemAudioManager& systemAudio,
                          PreferencesManager& preferences, DeviceVolumeController& volumeController,
                          SyncEngine& syncEngine, SyncProfileManager& syncProfiles, MainActor& actor,
                          const PlatformWords& words);
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
    const std::optional<UUID>& activePresetID() const noexcept { return preset_.id(); }

    SyncEngine& syncEngine() const noexcept { return sync_.engine(); }
    /// The profile of the session's outputs.
    std::optional<SyncProfile> currentSyncProfile() const { return sync_.currentProfile(); }
    /// Whether corrections can be made while playing.
    bool canAdjustSync() const noexcept { return syncEngine().capabilities().supportsPerDeviceDelay; }

    /// Who is told from now on of what comes without having been asked for; nobody by an empty one.
    void setEventHandler(SessionEventHandler handler) { eventHandler_ = std::move(handler); }

    // The program's life

    /// At launch, once: cleans up after an earlier run, then follows the devices.
    Task<void> start();
    /// At quit, once: puts the outputs back. A failure is only logged.
    Task<void> shutdown();
    /// For when shutdown() can only follow in a later turn: turns away from now on all that would be started.
    void beginShutdown() noexcept { isShuttingDown_ = true; }
    bool isShuttingDown() const noexcept { return isShuttingDown_; }
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
    /// Has the session's outputs play so many milliseconds later than they would, by UID: at once, and as
    /// their profile from then on. Only differences are heard. Nothing without a session.
    void setSyncCorrections(std::map<std::string, double> corrections, SyncProfile::Kind kind) {
        sync_.setCorrections(std::move(corrections), kind);
    }

    /// Delays the session's outputs as their profile says, whatever they were delayed by meanwhile.
    void applySyncProfile() {
        if (state().isActive() && !isReconnecting()) sync_.sessionChanged();
    }

    /// Saves the session with its volumes as a new preset, which is the active one from then on, and follows
    /// each adjustment. None without a session.
    std::optional<AudioPreset> saveCurrentSessionAsPreset(std::string named) {
        return preset_.saveAs(std::move(named));
    }

  private:
    using Settings = SessionPreset::Settings;

    Task<void> startSession(AudioOutputDevice first, AudioOutputDevice second, std::optional<UUID> presetID,
                            Settings settings);
    Task<void> startSystemAudio(AudioOutputDevice first, AudioOutputDevice second,
                                SystemAudioManager::ProgressHandler progress);
    Task<void> stopSession();
    Task<void> recover();
    Task<void> cleanUp();
    void tell(const SessionEvent& event) const;
    void beginOperation();
    /// After a session has ended or could not be made.
    void sessionChanged();
    Task<void> rebuild(DualOutputSession session);
    std::optional<double> preferredSampleRate() const;
    bool isBusy() const noexcept { return state().isBusy(); }

    void handleDevicesChanged();
    /// True when somebody else chose another output: the session is being given up.
    bool wasSwitchedAway(const DualOutputSession& session);
    void checkSessionDevices();
    void seeToLostOutputs();
    void forgetAnsweredQuestion();
    bool startRememberedPair();
    void applyDisconnectBehavior(const AudioOutputDevice& missing);
    Task<void> abandon(Task<void> abandoning);
    Task<void> stopAfterDisconnect(DualOutputSession session);
    Task<void> reconnectAfterReturn(DualOutputSession session);
    Task<void> repair(DualOutputSession session);
    Task<void> endAfterLoss(DualOutputSession session);
    Task<void> endAfterSwitch();
    Task<void> startAgain(RememberedPair::Content pair);
    Task<void> startByItself(UUID presetID);
    bool isRunning(const DualOutputSession& session) const { return systemAudio_.activeSession() == session; }

    /// Changes what the user is shown; tells observers when it differs.
    template <class T>
    void show(T& shown, std::type_identity_t<T> value) {
        if (shown == value) return;
        shown = std::move(value);
        observers_.notify();
    }

    AudioDeviceManager& deviceManager_;
    SystemAudioManager& systemAudio_;
    PreferencesManager& preferences_;
    const PlatformWords& words_;
    SessionPreset preset_;
    SessionSync sync_;
    AutoConnect autoConnect_;
    RememberedPair rememberedPair_;

    std::optional<AudioManagerError> lastError_;
    std::optional<PreparationStep> preparationStep_;
    std::optional<AudioOutputDevice> pendingDisconnectDecision_;
    ObserverList observers_;
    SessionEventHandler eventHandler_;

    Subscription changesSubscription_;
    Subscription stateSubscription_;
    Subscription devicesSubscription_;
    Subscription presetSubscription_;
    bool isShuttingDown_ = false;
    Lifetime lifetime_;
    SessionWaits waits_; // its tasks use all the others
    TaskScope tasks_;    // dies first: its tasks use all of them
};

} // namespace velto
