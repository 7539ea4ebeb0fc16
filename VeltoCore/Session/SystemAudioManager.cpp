#include "VeltoCore/Session/SystemAudioManager.h"

#include "VeltoCore/CoreAudio/Answer.h"
#include "VeltoCore/CoreAudio/ErrorConversion.h"
#include "VeltoCore/Services/LoggingService.h"

#include <algorithm>

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

AudioManagerError noAnswer() { return AudioManagerError::coreAudioError(kAudioHardwareNotRunningError); }

/// How the task failed; none when it ended well.
Task<std::optional<AudioManagerError>> failureOf(Task<void> task) {
    try {
        co_await std::move(task);
    } catch (...) {
        co_return currentAudioManagerError();
    }
    co_return std::nullopt;
}

} // namespace

SystemAudioManager::SystemAudioManager(CoreAudioClient& client, AudioDeviceManager& deviceManager,
                                       AggregateDeviceManager& aggregateManager,
                                       RecoveryStateStore& recoveryStore, MainActor& actor)
    : client_(client), deviceManager_(deviceManager), aggregateManager_(aggregateManager),
      recoveryStore_(recoveryStore), actor_(actor), outputs_(client, deviceManager), operation_(actor) {}

// One operation at a time

Task<void> SystemAudioManager::operationEnded() {
    while (operation_.running()) {
        auto ended = operation_.ended();
        co_await ended;
    }
}

Task<void> SystemAudioManager::abandonOrRecoveryEnded() {
    while (operation_.isRunning(Operation::abandon) || operation_.isRunning(Operation::recover)) {
        auto ended = operation_.ended();
        co_await ended;
    }
}

// Start

Task<void> SystemAudioManager::start(AudioOutputDevice first, AudioOutputDevice second,
                                     std::string aggregateName, std::optional<double> preferredSampleRate,
                                     ClockStrategy clockStrategy, ProgressHandler progress) {
    auto ended = abandonOrRecoveryEnded();
    co_await std::move(ended);
    if (state().isBusy()) co_return;
    const Marker::Mark mark(operation_, Operation::start);
    if (auto session = activeSession()) {
        auto stopped = endSession(std::move(*session));
        co_await std::move(stopped);
    }
    state_.set(AudioSessionState::starting());
    std::optional<DualOutputSession> session;
    std::optional<AudioManagerError> failure;
    auto building = buildSession({std::move(first), std::move(second), std::move(aggregateName),
                                  preferredSampleRate, clockStrategy, std::move(progress)});
    try {
        session = co_await std::move(building);
    } catch (...) {
        failure = currentAudioManagerError();
    }
    if (failure) {
        closeRecord(failure);
        state_.set(AudioSessionState::failed(*failure));
        throw *failure;
    }
    state_.set(AudioSessionState::active(*session));
    deviceManager_.refresh();
    logger.notice("Dual output active: {} + {} at {} Hz", publicText(session->first.name),
                  publicText(session->second.name), session->sampleRate);
}

/// All of a start but its states. Leaves nothing behind when it throws, except the recovery record.
Task<DualOutputSession> SystemAudioManager::buildSession(StartRequest request) {
    const auto report = [&request](PreparationStep step) {
        if (request.progress) request.progress(step);
    };
    report(PreparationStep::preparingAudio);
    if (!client_.isAnswering()) throw noAnswer();
    if (recoveryStore_.loadRecoveryState()) { // an earlier session's, which could not be cleaned up after
        auto recovered = recover();
        co_await std::move(recovered);
    }
    const PreviousOutputs previous = outputs_.inForce();
    recoveryStore_.saveRecoveryState(RecoveryState{std::string(AggregateDeviceManager::aggregateUID),
                                                   previous.defaultUID, previous.systemUID, request.first.uid,
                                                   request.second.uid, actor_.now()});
    auto creation = createAggregate(request);
    const AggregateDeviceInfo aggregate = co_await std::move(creation);
    std::optional<AudioManagerError> failure;
    try {
        report(PreparationStep::startingPlayback);
        outputs_.switchTo(aggregate.deviceID, previous);
    } catch (...) {
        failure = currentAudioManagerError();
    }
    if (failure) {
        if (!failure->isNoAnswer()) {
            auto destroyed = destroyQuietly(aggregate.deviceID);
            co_await std::move(destroyed);
        }
        throw *failure;
    }
    logger.info("Default output switched to aggregate {}", aggregate.deviceID);
    co_return DualOutputSession{
        std::move(request.first), std::move(request.second), aggregate.deviceID,  aggregate.uid,
        aggregate.masterUID,      aggregate.sampleRate,      previous.defaultUID, actor_.now()};
}

Task<AggregateDeviceInfo> SystemAudioManager::createAggregate(StartRequest request) {
    if (request.progress) request.progress(PreparationStep::checkingDevices);
    if (request.first.uid == request.second.uid) throw AudioManagerError::sameDeviceSelected();
    if (request.progress) request.progress(PreparationStep::creatingGroup);
    auto creation =
        aggregateManager_.createAggregate(makeGroup(request.first, request.second), request.aggregateName,
                                          request.preferredSampleRate, request.clockStrategy);
    co_return co_await std::move(creation);
}

/// For where a failure has no one to go to: the client has logged it. Throws only when there is no answer.
Task<void> SystemAudioManager::destroyQuietly(AudioObjectID aggregate) {
    auto destroyed = failureOf(aggregateManager_.destroyAggregate(aggregate));
    const auto failure = co_await std::move(destroyed);
    if (failure && failure->isNoAnswer()) throw *failure;
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
    auto ended = abandonOrRecoveryEnded();
    co_await std::move(ended);
    if (state().isBusy()) co_return;
    auto session = activeSession();
    if (!session) {
        state_.set(AudioSessionState::idle());
        co_return;
    }
    const Marker::Mark mark(operation_, Operation::stop);
    auto stopped = endSession(std::move(*session));
    co_await std::move(stopped);
}

Task<void> SystemAudioManager::endSession(DualOutputSession session) {
    state_.set(AudioSessionState::stopping());
    auto undoing = failureOf(undo(std::move(session)));
    const std::optional<AudioManagerError> failure = co_await std::move(undoing);
    if (failure && failure->isNoAnswer()) respectChoice();
    closeRecord(failure);
    deviceManager_.refresh();
    if (failure) {
        state_.set(AudioSessionState::failed(*failure));
        throw *failure;
    }
    state_.set(AudioSessionState::idle());
    logger.notice("Dual output stopped");
}

/// Takes all steps whatever fails, unless there is no answer; then throws the first failure.
Task<void> SystemAudioManager::undo(DualOutputSession session) {
    std::optional<AudioManagerError> failure = restoreOutputs(session);
    if (const auto aggregate = aggregateOf(session)) {
        auto destroying = failureOf(aggregateManager_.destroyAggregate(*aggregate));
        const auto error = co_await std::move(destroying);
        if (error) {
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
std::optional<AudioManagerError> SystemAudioManager::restoreOutputs(const DualOutputSession& session) {
    const std::optional<RecoveryState> record = recoveryStore_.loadRecoveryState();
    if (!outputs_.isDefaultOutputOurs()) {
        logger.notice("Default output was changed externally; skipping restore");
        return std::nullopt;
    }
    const auto recorded = record.value_or(RecoveryState());
    try {
        outputs_.restoreOutput(session.previousDefaultOutputUID ? session.previousDefaultOutputUID
                                                                : recorded.previousDefaultOutputUID,
                               recorded.previousSystemOutputUID);
        return std::nullopt;
    } catch (...) {
        AudioManagerError error = currentAudioManagerError();
        if (error.isNoAnswer()) throw error;
        logger.error("Restore failed: {}", error.errorDescription());
        return error;
    }
}

/// None when it is gone. Where it can't be looked up, it counts as there: it must not be left behind. Throws
/// only when there is no answer.
std::optional<AudioObjectID> SystemAudioManager::aggregateOf(const DualOutputSession& session) const {
    return answeredOr(session.aggregateDeviceID,
                      [this] { return client_.deviceID(AggregateDeviceManager::aggregateUID); });
}

/// Where sound goes now is somebody's choice, if it is not our aggregate: a recovery that is left to do must
/// lead there.
void SystemAudioManager::respectChoice() {
    std::optional<RecoveryState> record = recoveryStore_.loadRecoveryState();
    try {
        const auto chosen = outputs_.inForce().defaultUID;
        if (!record || !chosen) return;
        record->previousDefaultOutputUID = chosen;
        recoveryStore_.saveRecoveryState(record);
    } catch (const AudioManagerError&) { // who can't be asked has not been heard of another choice
    }
}

// Abandon

Task<void> SystemAudioManager::abandonSession() {
    const auto session = activeSession();
    if (!session || operation_.running()) co_return;
    const Marker::Mark mark(operation_, Operation::abandon);
    auto removing = failureOf(removeAggregate(*session));
    const std::optional<AudioManagerError> failure = co_await std::move(removing);
    if (failure) respectChoice();
    closeRecord(failure);
    deviceManager_.refresh();
    state_.set(AudioSessionState::idle());
    logger.notice("Dual output abandoned");
}

/// Throws only when there is no answer.
Task<void> SystemAudioManager::removeAggregate(DualOutputSession session) {
    const auto aggregate = aggregateOf(session);
    if (!aggregate) co_return;
    auto destroyed = destroyQuietly(*aggregate);
    co_await std::move(destroyed);
}

// Recovery

Task<bool> SystemAudioManager::recoverIfNeeded() {
    auto ended = operationEnded();
    co_await std::move(ended);
    if (activeSession()) co_return false;
    const Marker::Mark mark(operation_, Operation::recover);
    auto recovering = recover();
    co_return co_await std::move(recovering);
}

Task<bool> SystemAudioManager::recover() {
    if (!client_.isAnswering()) throw noAnswer(); // what it would read may be old
    const std::optional<RecoveryState> record = recoveryStore_.loadRecoveryState();
    const auto aggregate = aggregateManager_.existingAggregateDeviceID();
    if (!record && !aggregate) co_return false;
    logger.notice("Recovering from previous session (aggregate present: {}, state saved: {})",
                  aggregate.has_value(), record.has_value());
    if (outputs_.isDefaultOutputOurs() || aggregate) {
        const RecoveryState recorded = record.value_or(RecoveryState());
        try {
            outputs_.restoreOutput(recorded.previousDefaultOutputUID, recorded.previousSystemOutputUID);
        } catch (...) {
            const AudioManagerError error = currentAudioManagerError();
            if (error.isNoAnswer()) throw error;
            logger.error("Recovery restore failed: {}", error.errorDescription());
        }
    }
    if (aggregate) {
        auto destroyed = destroyQuietly(*aggregate);
        co_await std::move(destroyed);
    }
    recoveryStore_.saveRecoveryState(std::nullopt);
    deviceManager_.refresh();
    co_return true;
}

// While a session runs

void SystemAudioManager::reassertDefaultOutput() {
    const auto session = activeSession();
    if (!session || operation_.running()) return; // a session that is being given up stays down
    try {
        if (!isAggregatePresent(*session)) return;
        client_.setDefaultOutputDevice(session->aggregateDeviceID);
        client_.setDefaultSystemOutputDevice(session->aggregateDeviceID);
        logger.notice("Re-asserted aggregate as default output");
    } catch (...) {
        logger.error("Could not re-assert default output: {}", currentErrorDescription());
    }
    deviceManager_.refresh();
}

bool SystemAudioManager::isAggregatePresent(const DualOutputSession& session) const {
    return client_.deviceID(AggregateDeviceManager::aggregateUID) == session.aggregateDeviceID;
}

bool SystemAudioManager::updateDegradedState() {
    if (operation_.running()) return false;
    try {
        if (const auto* degraded = state().as<AudioSessionState::Degraded>())
            return updateDegraded(*degraded);
        const auto missing = missingSessionDevices();
        if (missing.empty()) return false;
        logger.error("{} disconnected during dual output", publicText(missing.front().name));
        state_.set(AudioSessionState::degraded(*activeSession(), missing.front()));
    } catch (const AudioManagerError&) { // no answer
    }
    return false;
}

/// Throws only when there is no answer.
bool SystemAudioManager::updateDegraded(const AudioSessionState::Degraded& degraded) {
    if (!std::ranges::all_of(degraded.session.devices(),
                             [this](const auto& device) { return isFound(device); }))
        return false;
    const std::string name = degraded.missing.name;
    if (!isActiveInAggregate(degraded.session, degraded.missing.uid)) {
        logger.notice("{} reconnected but is not active in the aggregate", publicText(name));
        return true;
    }
    logger.notice("{} reconnected and rejoined the aggregate", publicText(name));
    state_.set(AudioSessionState::active(degraded.session));
    return false;
}

/// What can't be read doesn't play. Throws only when there is no answer.
bool SystemAudioManager::isActiveInAggregate(const DualOutputSession& session, const std::string& uid) const {
    return answeredOr(false, [&] {
        const auto subDevices = client_.aggregateActiveSubDeviceIDs(session.aggregateDeviceID);
        return std::ranges::any_of(subDevices,
                                   [&](AudioObjectID device) { return client_.deviceUID(device) == uid; });
    });
}

/// What can't be looked up counts as missing. Throws only when there is no answer.
bool SystemAudioManager::isFound(const AudioOutputDevice& device) const {
    return answeredOr(false, [&] { return client_.deviceID(device.uid).has_value(); });
}

std::vector<AudioOutputDevice> SystemAudioManager::missingSessionDevices() const {
    std::vector<AudioOutputDevice> missing;
    const auto session = activeSession();
    if (!session) return missing;
    for (AudioOutputDevice& device : session->devices()) {
        try {
            if (!isFound(device)) missing.push_back(std::move(device));
        } catch (const AudioManagerError&) { // no answer
        }
    }
    return missing;
}

bool SystemAudioManager::isSessionHealthy() const noexcept {
    const auto session = activeSession();
    if (!session) return false;
    try {
        return answeredOr(false, [&] {
            return isAggregatePresent(*session) && currentDefaultOutputUID() == session->aggregateUID;
        });
    } catch (const AudioManagerError&) { // no answer
        return true;
    }
}

void SystemAudioManager::clearFailure() {
    if (state().is<AudioSessionState::Failed>()) state_.set(AudioSessionState::idle());
}

} // namespace velto
