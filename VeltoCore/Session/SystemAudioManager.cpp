#include "VeltoCore/Session/SystemAudioManager.h"

#include "VeltoCore/CoreAudio/ErrorConversion.h"
#include "VeltoCore/Services/LoggingService.h"

namespace velto {

namespace {

constexpr const Logger& logger = LoggingService::systemOutput;

AudioGroup makeGroup(const AudioOutputDevice& first, const AudioOutputDevice& second) {
    try {
        return AudioGroup({first, second});
    } catch (const AudioGroup::ValidationError&) {
        throw AudioManagerError::sameDeviceSelected();
    }
}

Task<void> nothing() { co_return; }

AudioManagerError noAnswer() { return AudioManagerError::coreAudioError(kAudioHardwareNotRunningError); }

} // namespace

SystemAudioManager::SystemAudioManager(CoreAudioClient& client, AudioDeviceManager& deviceManager,
                                       AggregateDeviceManager& aggregateManager,
                                       RecoveryStateStore& recoveryStore, MainActor& actor)
    : client_(client), deviceManager_(deviceManager), aggregateManager_(aggregateManager),
      recoveryStore_(recoveryStore), actor_(actor), outputs_(client, deviceManager), presence_(client),
      operation_(actor) {}

// One operation at a time

Task<void> SystemAudioManager::operationEnded() {
    while (operation_.running()) {
        co_await operation_.ended();
    }
}

Task<void> SystemAudioManager::abandonOrRecoveryEnded() {
    while (operation_.isRunning(Operation::abandon) || operation_.isRunning(Operation::recover)) {
        co_await operation_.ended();
    }
}

// Start

Task<void> SystemAudioManager::start(AudioOutputDevice first, AudioOutputDevice second,
                                     std::string aggregateName, std::optional<double> preferredSampleRate,
                                     ClockStrategy clockStrategy, ProgressHandler progress) {
    co_await abandonOrRecoveryEnded();
    if (state().isBusy()) co_return;
    const Marker::Mark mark(operation_, Operation::start);
    std::optional<PreviousOutputs> previous;
    if (auto session = activeSession()) {
        if (!outputs_.isDefaultOutputChosen()) previous = previousOutputs(*session);
        co_await endSession(std::move(*session));
    } else {
        outputs_.endSwitch();
    }
    state_.set(AudioSessionState::Starting{});
    const std::optional<AudioManagerError> failure =
        co_await failureOf(startSession({std::move(first), std::move(second), std::move(aggregateName),
                                         preferredSampleRate, clockStrategy, std::move(progress)},
                                        std::move(previous)));
    if (!failure) co_return;
    becomeFailed(*failure);
    throw *failure;
}

/// All of a start but its other states. `previous` is known when another session was just ended for this one:
/// what reads as the outputs then may be old.
Task<void> SystemAudioManager::startSession(StartRequest request, std::optional<PreviousOutputs> previous) {
    if (request.progress) request.progress(PreparationStep::preparingAudio);
    if (!client_.isAnswering()) throw noAnswer();
    if (recoveryStore_.loadRecoveryState()) { // an earlier session's, which could not be cleaned up after
        co_await recover();
    }
    if (!previous) previous = outputs_.inForce();
    recoveryStore_.saveRecoveryState(RecoveryState{std::string(AggregateDeviceManager::aggregateUID),
                                                   previous->defaultUID, previous->systemUID,
                                                   request.first.uid, request.second.uid, actor_.now()});
    co_await buildSession(std::move(request), std::move(*previous));
}

/// Leaves nothing behind when it throws, except the recovery record; unless it gets no answer.
Task<void> SystemAudioManager::buildSession(StartRequest request, PreviousOutputs previous) {
    const AggregateDeviceInfo aggregate = co_await createAggregate(request);
    std::optional<AudioManagerError> failure;
    try {
        if (request.progress) request.progress(PreparationStep::startingPlayback);
        outputs_.switchTo(aggregate.deviceID, previous);
    } catch (...) {
        failure = currentAudioManagerError();
    }
    if (failure) {
        if (!failure->isNoAnswer()) {
            co_await destroyQuietly(aggregate.deviceID);
        }
        throw *failure;
    }
    logger.info("Default output switched to aggregate {}", aggregate.deviceID);
    becomeActive({std::move(request.first), std::move(request.second), aggregate.deviceID, aggregate.uid,
                  aggregate.masterUID, aggregate.sampleRate, previous.defaultUID, actor_.now()});
}

void SystemAudioManager::becomeActive(const DualOutputSession& session) {
    state_.set(AudioSessionState::Active{session});
    deviceManager_.refresh();
    logger.notice("Dual output active: {} + {} at {} Hz", publicText(session.first.name),
                  publicText(session.second.name), session.sampleRate);
}

void SystemAudioManager::becomeFailed(const AudioManagerError& error) {
    closeRecord(error);
    deviceManager_.refresh();
    state_.set(AudioSessionState::Failed{error});
}

Task<AggregateDeviceInfo> SystemAudioManager::createAggregate(StartRequest request) {
    if (request.progress) request.progress(PreparationStep::checkingDevices);
    if (request.first.uid == request.second.uid) throw AudioManagerError::sameDeviceSelected();
    if (request.progress) request.progress(PreparationStep::creatingGroup);
    co_return co_await aggregateManager_.createAggregate(makeGroup(request.first, request.second),
                                                         request.aggregateName, request.preferredSampleRate,
                                                         request.clockStrategy);
}

/// For where a failure has no one to go to: the client has logged it. Throws only when there is no answer.
Task<void> SystemAudioManager::destroyQuietly(AudioObjectID aggregate) {
    if (const auto failure = co_await failureOf(aggregateManager_.destroyAggregate(aggregate));
        failure && failure->isNoAnswer())
        throw *failure;
}

/// The record goes when all is put back, or can't be; where there was no answer it says what is left to do.
void SystemAudioManager::closeRecord(const std::optional<AudioManagerError>& failure) {
    if (failure && failure->isNoAnswer()) {
        logger.notice("The audio service does not answer; cleaning up when it does");
    } else {
        recoveryStore_.saveRecoveryState(std::nullopt);
    }
}

// Stop

Task<void> SystemAudioManager::stop() {
    co_await abandonOrRecoveryEnded();
    if (state().isBusy()) co_return;
    auto session = activeSession();
    if (!session) {
        state_.set(AudioSessionState::Idle{});
        co_return;
    }
    const Marker::Mark mark(operation_, Operation::stop);
    co_await endSession(std::move(*session));
}

Task<void> SystemAudioManager::endSession(DualOutputSession session) {
    state_.set(AudioSessionState::Stopping{});
    const std::optional<AudioManagerError> failure = co_await failureOf(undo(std::move(session)));
    if (failure && failure->isNoAnswer()) respectChoice();
    closeRecord(failure);
    deviceManager_.refresh();
    if (failure) {
        state_.set(AudioSessionState::Failed{*failure});
        throw *failure;
    }
    state_.set(AudioSessionState::Idle{});
    logger.notice("Dual output stopped");
}

/// Takes all steps whatever fails, unless there is no answer; then throws the first failure.
Task<void> SystemAudioManager::undo(DualOutputSession session) {
    std::optional<AudioManagerError> failure = restoreUnlessChosen(session);
    if (const auto aggregate = presence_.aggregate(session)) {
        if (const auto error = co_await failureOf(aggregateManager_.destroyAggregate(*aggregate))) {
            if (error->isNoAnswer()) throw *error;
            logger.error("Destroy failed: {}", error->errorDescription());
            if (!failure) failure = error;
        }
    } else {
        logger.notice("Aggregate was already removed by the system");
    }
    if (failure) throw *failure;
}

/// What failed; none also when someone else has changed the output, who is left alone. Throws only when there
/// is no answer.
std::optional<AudioManagerError> SystemAudioManager::restoreUnlessChosen(const DualOutputSession& session) {
    if (!outputs_.isDefaultOutputChosen()) return outputs_.restore(previousOutputs(session));
    logger.notice("Default output was changed externally; skipping restore");
    return std::nullopt;
}

/// Where sound goes now may be somebody's choice: a recovery that is left to do must lead there.
void SystemAudioManager::respectChoice() {
    std::optional<RecoveryState> record = recoveryStore_.loadRecoveryState();
    try {
        const auto chosen = outputs_.inForce().defaultUID;
        if (!record || !chosen || !outputs_.isDefaultOutputChosen()) return;
        record->previousDefaultOutputUID = chosen;
        recoveryStore_.saveRecoveryState(record);
    } catch (const AudioManagerError&) { // who can't be asked has not been heard of another choice
    }
}

// Rebuild

Task<void> SystemAudioManager::rebuild(AudioOutputDevice first, AudioOutputDevice second,
                                       std::string aggregateName, std::optional<double> preferredSampleRate,
                                       ClockStrategy clockStrategy) {
    const auto session = activeSession();
    if (!session || operation_.running()) co_return;
    if (!client_.isAnswering()) throw noAnswer();
    const Marker::Mark mark(operation_, Operation::rebuild);
    const AudioSessionState before = state();
    state_.set(AudioSessionState::Stopping{});
    StartRequest request{std::move(first),    std::move(second), std::move(aggregateName),
                         preferredSampleRate, clockStrategy,     {}};
    const std::optional<AudioManagerError> failure =
        co_await failureOf(rebuildSession(*session, std::move(request)));
    if (!failure) co_return;
    if (failure->isNoAnswer()) {
        state_.set(before);
    } else {
        becomeFailed(*failure);
    }
    throw *failure;
}

Task<void> SystemAudioManager::rebuildSession(DualOutputSession session, StartRequest request) {
    const PreviousOutputs previous = previousOutputs(session);
    // A default output that is not the aggregate need not be put back only to be switched away from.
    const bool hasFallenBack = outputs_.hasFallenBack();
    if (hasFallenBack) outputs_.endSwitch();
    const bool isElsewhere = hasFallenBack || outputs_.isDefaultOutputChosen();
    const std::optional<AudioManagerError> failure =
        co_await failureOf(replaceSession(session, std::move(request), previous));
    if (!failure) co_return;
    // Sound had gone elsewhere with the aggregate: undoing the session did not put the outputs back.
    if (isElsewhere && !failure->isNoAnswer()) outputs_.restore(previous);
    throw *failure;
}

Task<void> SystemAudioManager::replaceSession(DualOutputSession session, StartRequest request,
                                              PreviousOutputs previous) {
    co_await undo(std::move(session));
    state_.set(AudioSessionState::Starting{});
    co_await buildSession(std::move(request), std::move(previous));
}

/// Where sound and alerts belong when the session ends.
PreviousOutputs SystemAudioManager::previousOutputs(const DualOutputSession& session) const {
    const RecoveryState recorded = recoveryStore_.loadRecoveryState().value_or(RecoveryState());
    return {session.previousDefaultOutputUID ? session.previousDefaultOutputUID
                                             : recorded.previousDefaultOutputUID,
            recorded.previousSystemOutputUID};
}

// Abandon

Task<void> SystemAudioManager::abandonSession() {
    const auto session = activeSession();
    if (!session || operation_.running()) return nothing();
    return abandon(*session, std::make_unique<Marker::Mark>(operation_, Operation::abandon));
}

Task<void> SystemAudioManager::abandon(DualOutputSession session, std::unique_ptr<Marker::Mark> mark) {
    const auto running = std::move(mark); // until this ends, not as long as the task is kept
    const std::optional<AudioManagerError> failure = co_await failureOf(removeAggregate(std::move(session)));
    if (failure) respectChoice();
    closeRecord(failure);
    deviceManager_.refresh();
    state_.set(AudioSessionState::Idle{});
    logger.notice("Dual output abandoned");
}

/// Throws only when there is no answer.
Task<void> SystemAudioManager::removeAggregate(DualOutputSession session) {
    const auto aggregate = presence_.aggregate(session);
    if (!aggregate) co_return;
    co_await destroyQuietly(*aggregate);
}

// Recovery

Task<bool> SystemAudioManager::recoverIfNeeded() {
    co_await operationEnded();
    if (activeSession()) co_return false;
    const Marker::Mark mark(operation_, Operation::recover);
    co_return co_await recover();
}

Task<bool> SystemAudioManager::recover() {
    if (!client_.isAnswering()) throw noAnswer(); // what it would read may be old
    const std::optional<RecoveryState> record = recoveryStore_.loadRecoveryState();
    const auto aggregate = aggregateManager_.existingAggregateDeviceID();
    if (!record && !aggregate) co_return false;
    logger.notice("Recovering from previous session (aggregate present: {}, state saved: {})",
                  aggregate.has_value(), record.has_value());
    const bool hasFallenBack = outputs_.hasFallenBack() && !outputs_.isDefaultOutputChosen();
    if (outputs_.isDefaultOutputOurs() || aggregate || hasFallenBack) {
        const RecoveryState recorded = record.value_or(RecoveryState());
        outputs_.restore({recorded.previousDefaultOutputUID, recorded.previousSystemOutputUID});
    }
    if (aggregate) {
        co_await destroyQuietly(*aggregate);
    }
    recoveryStore_.saveRecoveryState(std::nullopt);
    deviceManager_.refresh();
    co_return true;
}

void SystemAudioManager::handleServiceRestart() {
    const auto session = activeSession();
    const std::optional<RecoveryState> record = recoveryStore_.loadRecoveryState();
    if ((!session && !record) || operation_.running()) return;
    try {
        if (client_.deviceID(AggregateDeviceManager::aggregateUID)) return;
        outputs_.fallBack(session ? SessionUIDs::of(*session) : SessionUIDs::of(*record));
    } catch (...) { // for all that is known, it is there
    }
}

// A session that runs

bool SystemAudioManager::reassertDefaultOutput() {
    const auto session = activeSession();
    if (!session || operation_.running()) return true; // a session that is being given up stays down
    try {
        if (!presence_.isAggregateThere(*session)) return false;
        outputs_.switchAgainTo(session->aggregateDeviceID);
        logger.notice("Re-asserted aggregate as default output");
    } catch (...) {
        logger.error("Could not re-assert default output: {}", currentErrorDescription());
    }
    deviceManager_.refresh();
    return true;
}

bool SystemAudioManager::updateDegradedState() {
    if (operation_.running()) return false;
    if (const auto* degraded = state().as<AudioSessionState::Degraded>()) {
        try {
            return updateDegraded(*degraded);
        } catch (const AudioManagerError&) { // no answer
            return false;
        }
    }
    if (const auto missing = missingSessionDevices(); !missing.empty()) {
        logger.error("{} disconnected during dual output", publicText(missing.front().name));
        state_.set(AudioSessionState::Degraded{*activeSession(), missing.front()});
    }
    return false;
}

/// Throws only when there is no answer.
bool SystemAudioManager::updateDegraded(AudioSessionState::Degraded degraded) {
    if (!presence_.isComplete(degraded.session)) return false;
    const std::string name = degraded.missing.name;
    if (!presence_.takesPart(degraded.missing, degraded.session)) {
        logger.notice("{} reconnected but is not active in the aggregate", publicText(name));
        return true;
    }
    logger.notice("{} reconnected and rejoined the aggregate", publicText(name));
    state_.set(AudioSessionState::Active{std::move(degraded.session)});
    return false;
}

std::vector<AudioOutputDevice> SystemAudioManager::missingSessionDevices() const {
    const auto session = activeSession();
    return session ? presence_.missing(*session) : std::vector<AudioOutputDevice>();
}

bool SystemAudioManager::isSessionSilenced() const {
    const auto session = activeSession();
    return session &&
           (outputs_.hasFallenBack() || presence_.missing(*session).size() == session->devices().size());
}

bool SystemAudioManager::isSessionHealthy() noexcept {
    const auto session = activeSession();
    if (!session) return false;
    try {
        return presence_.isAggregateThere(*session) && !outputs_.isDefaultOutputChosen();
    } catch (...) {
        return currentAudioManagerError().isNoAnswer();
    }
}

void SystemAudioManager::clearFailure() {
    if (state().is<AudioSessionState::Failed>()) state_.set(AudioSessionState::Idle{});
}

} // namespace velto
