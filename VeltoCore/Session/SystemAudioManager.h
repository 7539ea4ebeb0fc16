// SystemAudioManager: the session on two outputs, and the only writer of its state.
//
// Owned by the root of the object graph; main actor only. It builds the aggregate, makes it the default and
// the alert output, keeps the recovery record in step, and undoes all of it at the end. When, is for others
// to decide.
//
// One operation at a time: start, stop, abandon and recover never overlap. A start or stop that comes while
// starting or stopping is ignored and changes nothing; one that comes during an abandon or a recovery waits
// for its end, then looks at what it finds.
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
#include "VeltoCore/Session/AudioSessionState.h"
#include "VeltoCore/Session/DualOutputSession.h"
#include "VeltoCore/Session/PreparationStep.h"
#include "VeltoCore/Session/RecoveryStateStore.h"
#include "VeltoCore/Session/SystemOutputs.h"

#include <functional>
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
    /// Gives the session up where it can't go on: removes the aggregate, leaves the outputs alone. The state
    /// stays as it was until that is done. Nothing without a session or while one is being given up.
    Task<void> abandonSession();
    /// Cleans up after a session that was not ended; false when there was nothing to do. A session that runs
    /// is no left-over: it is left alone. Throws when there is no answer: it is for later then.
    Task<bool> recoverIfNeeded();
    /// Ends when none of the above runs.
    Task<void> operationEnded();
    bool isOperationRunning() const noexcept { return operation_.running().has_value(); }

    /// Makes the session's aggregate the default and alert output again, if it is still there.
    void reassertDefaultOutput();
    /// Moves between `active` and `degraded` as outputs went or came back. True when the lost output is
    /// present again but takes no part in the aggregate: the session must be rebuilt.
    bool updateDegradedState();
    /// The session's devices that can't be found now, the first before the second. What gets no answer is
    /// not missing.
    std::vector<AudioOutputDevice> missingSessionDevices() const;
    /// Whether the session's aggregate exists and is the default output; false when that can't be read, but
    /// true while there is no answer: unknown is not unhealthy.
    bool isSessionHealthy() const noexcept;
    /// A `failed` state becomes `idle`; others stay.
    void clearFailure();

    std::string currentDefaultOutputUID() const { return outputs_.currentDefaultOutputUID(); }
    /// Of the alert output.
    std::string currentSystemOutputUID() const { return outputs_.currentSystemOutputUID(); }

  private:
    enum class Operation { start, stop, abandon, recover };
    using Marker = OperationMarker<Operation>;
    struct StartRequest {
        AudioOutputDevice first;
        AudioOutputDevice second;
        std::string aggregateName;
        std::optional<double> preferredSampleRate;
        ClockStrategy clockStrategy;
        ProgressHandler progress;
    };

    Task<void> abandonOrRecoveryEnded();
    Task<DualOutputSession> buildSession(StartRequest request);
    Task<AggregateDeviceInfo> createAggregate(StartRequest request);
    Task<void> destroyQuietly(AudioObjectID aggregate);
    Task<void> endSession(DualOutputSession session);
    Task<void> undo(DualOutputSession session);
    Task<void> removeAggregate(DualOutputSession session);
    Task<bool> recover();
    std::optional<AudioManagerError> restoreOutputs(const DualOutputSession& session);
    std::optional<AudioObjectID> aggregateOf(const DualOutputSession& session) const;
    void closeRecord(const std::optional<AudioManagerError>& failure);
    void respectChoice();
    bool isFound(const AudioOutputDevice& device) const;
    bool isAggregatePresent(const DualOutputSession& session) const;
    bool isActiveInAggregate(const DualOutputSession& session, const std::string& uid) const;
    bool updateDegraded(const AudioSessionState::Degraded& degraded);

    CoreAudioClient& client_;
    AudioDeviceManager& deviceManager_;
    AggregateDeviceManager& aggregateManager_;
    RecoveryStateStore& recoveryStore_;
    MainActor& actor_;
    SystemOutputs outputs_;
    Marker operation_;
    Observable<AudioSessionState> state_;
};

} // namespace velto
