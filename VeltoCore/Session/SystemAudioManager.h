// SystemAudioManager: the session on two outputs, and the only writer of its state.
//
// Owned by the root of the object graph; main actor only. It builds the aggregate, makes it the default and
// the alert output, keeps the recovery record in step, and undoes all of it at the end. When, is for others
// to decide.
//
// One operation at a time: start, stop, rebuild, abandon and recover never overlap. A start or stop that
// comes while starting, stopping or rebuilding is ignored and changes nothing; one that comes during an
// abandon or a recovery waits for its end, then looks at what it finds.
//
// No answer from the audio service is unknown, not failed: an operation that gets none ends there, with that
// error, and the recovery record stays. A recovery when the service answers, before the next start or at the
// next launch undoes what was done, late or not. A session that runs is not changed by it.
#pragma once

#include "VeltoCore/Aggregate/AggregateDeviceManager.h"
#include "VeltoCore/Aggregate/ClockStrategy.h"
#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Async/OperationMarker.h"
#include "VeltoCore/Async/Task.h"
#include "VeltoCore/CoreAudio/CoreAudioClient.h"
#include "VeltoCore/Devices/AudioDeviceManager.h"
#include "VeltoCore/Observation/Observable.h"
#include "VeltoCore/Recovery/RecoveryStateStore.h"
#include "VeltoCore/Session/AudioSessionState.h"
#include "VeltoCore/Session/DualOutputSession.h"
#include "VeltoCore/Session/PreparationStep.h"
#include "VeltoCore/Session/SessionPresence.h"
#include "VeltoCore/Session/SystemOutputs.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace velto {

class SystemAudioManager {
  public:
    using ProgressHandler = std::function<void(PreparationStep)>;

    /// All must outlive the manager, and the manager every task it has begun.
    SystemAudioManager(CoreAudioClient& client, AudioDeviceManager& deviceManager,
                       AggregateDeviceManager& aggregateManager, RecoveryStateStore& recoveryStore,
                       MainActor& actor);
    SystemAudioManager(const SystemAudioManager&) = delete;
    SystemAudioManager& operator=(const SystemAudioManager&) = delete;

    const AudioSessionState& state() const noexcept { return state_.value(); }
    Subscription observeState(std::function<void()> handler) { return state_.observe(std::move(handler)); }
    std::optional<DualOutputSession> activeSession() const { return state().session(); }

    /// Plays on both outputs; a session that runs is stopped first. Throws AudioManagerError after undoing
    /// everything: the state is `failed` then. `preferredSampleRate` in Hz; absent for automatic.
    Task<void> start(AudioOutputDevice first, AudioOutputDevice second, std::string aggregateName,
                     std::optional<double> preferredSampleRate, ClockStrategy clockStrategy,
                     ProgressHandler progress = {});
    /// Restores the outputs and removes the aggregate. Takes all steps whatever fails (but see above), then
    /// throws the first failure as AudioManagerError: the state is `failed` then. Without a session the state
    /// becomes `idle`.
    Task<void> stop();
    /// Builds the running session anew, on its outputs as they are given. Where sound and alerts belong
    /// without a session is kept. Throws AudioManagerError after all is left as a stop leaves it: the state
    /// is `failed` then. Without an answer it throws that, and the session is to be looked after when there
    /// is one. Nothing without a session or while something runs.
    Task<void> rebuild(AudioOutputDevice first, AudioOutputDevice second, std::string aggregateName,
                       std::optional<double> preferredSampleRate, ClockStrategy clockStrategy);
    /// Gives the session up where it can't go on: removes the aggregate, leaves the outputs alone. The state
    /// stays as it was until that is done. Under way from the call on, not only when it is awaited. Nothing
    /// without a session or while something runs.
    Task<void> abandonSession();
    /// Cleans up after a session that was not ended; false when there was nothing to do. A session that runs
    /// is no left-over: it is left alone. Throws when there is no answer: it is for later then.
    Task<bool> recoverIfNeeded();
    /// Ends when none of the above runs.
    Task<void> operationEnded();
    /// Ends when neither of those runs for which a start or stop waits.
    Task<void> abandonOrRecoveryEnded();
    bool isOperationRunning() const noexcept { return operation_.running().has_value(); }
    bool isRebuilding() const noexcept { return operation_.isRunning(Operation::rebuild); }
    bool isAbandoning() const noexcept { return operation_.isRunning(Operation::abandon); }
    /// False while the audio service is known to be away or to hang.
    bool isAnswering() const noexcept { return client_.isAnswering(); }

    /// Makes the session's aggregate the default and alert output again. False when it is not there: the
    /// session has been lost.
    bool reassertDefaultOutput();
    /// Whether somebody chose that default output, and it does not read so only because a switch to the
    /// aggregate does not show yet.
    bool isSomebodysChoice(const std::string& defaultOutputUID) {
        return outputs_.isChoice(defaultOutputUID);
    }
    /// From a switch to the aggregate until it is read as the default output.
    bool isSwitchPending() { return state().isActive() && outputs_.isSwitchPending(); }
    /// Moves between `active` and `degraded` as outputs went or came back. True when the lost output is
    /// present again but takes no part in the aggregate: the session must be rebuilt.
    bool updateDegradedState();
    /// The session's devices that can't be found now, the first before the second. What gets no answer is
    /// not missing.
    std::vector<AudioOutputDevice> missingSessionDevices() const;
    /// Whether a session runs that plays nowhere: all of its outputs are missing, or its aggregate has gone
    /// with the audio service.
    bool isSessionSilenced() const;
    /// When the audio service answers again, after the devices were read: where it has taken an aggregate
    /// with it, what is the default output now is nobody's choice.
    void handleServiceRestart();
    /// Whether the session's aggregate exists and is the default output, or about to be; false when that
    /// can't be read, but true while there is no answer: unknown is not unhealthy.
    bool isSessionHealthy() noexcept;
    /// A `failed` state becomes `idle`; others stay.
    void clearFailure();

    std::string currentDefaultOutputUID() const { return outputs_.currentDefaultOutputUID(); }
    /// Of the alert output.
    std::string currentSystemOutputUID() const { return outputs_.currentSystemOutputUID(); }

  private:
    enum class Operation { start, stop, rebuild, abandon, recover };
    using Marker = OperationMarker<Operation>;
    struct StartRequest {
        AudioOutputDevice first;
        AudioOutputDevice second;
        std::string aggregateName;
        std::optional<double> preferredSampleRate;
        ClockStrategy clockStrategy;
        ProgressHandler progress;
    };

    Task<void> startSession(StartRequest request, std::optional<PreviousOutputs> previous);
    Task<void> rebuildSession(DualOutputSession session, StartRequest request);
    Task<void> replaceSession(DualOutputSession session, StartRequest request, PreviousOutputs previous);
    Task<void> buildSession(StartRequest request, PreviousOutputs previous);
    void becomeActive(const DualOutputSession& session);
    void becomeFailed(const AudioManagerError& error);
    PreviousOutputs previousOutputs(const DualOutputSession& session) const;
    Task<AggregateDeviceInfo> createAggregate(StartRequest request);
    Task<void> destroyQuietly(AudioObjectID aggregate);
    Task<void> endSession(DualOutputSession session);
    Task<void> abandon(DualOutputSession session, std::unique_ptr<Marker::Mark> mark);
    Task<void> undo(DualOutputSession session);
    Task<void> removeAggregate(DualOutputSession session);
    Task<bool> recover();
    std::optional<AudioManagerError> restoreUnlessChosen(const DualOutputSession& session);
    void closeRecord(const std::optional<AudioManagerError>& failure);
    void respectChoice();
    bool updateDegraded(AudioSessionState::Degraded degraded);

    CoreAudioClient& client_;
    AudioDeviceManager& deviceManager_;
    AggregateDeviceManager& aggregateManager_;
    RecoveryStateStore& recoveryStore_;
    MainActor& actor_;
    SystemOutputs outputs_;
    SessionPresence presence_;
    Marker operation_;
    Observable<AudioSessionState> state_;
};

} // namespace velto
