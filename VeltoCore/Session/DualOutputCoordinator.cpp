#include "VeltoCore/Session/DualOutputCoordinator.h"

#include "VeltoCore/Aggregate/AggregateDeviceManager.h"
#include "VeltoCore/CoreAudio/ErrorConversion.h"
#include "VeltoCore/Services/LoggingService.h"
#include "VeltoCore/Session/ReturningOutput.h"
#include "VeltoCore/Settings/DisconnectBehavior.h"

#include <algorithm>
#include <utility>

namespace velto {

namespace {

constexpr const Logger& logger = LoggingService::routing;

} // namespace

DualOutputCoordinator::DualOutputCoordinator(AudioDeviceManager& deviceManager,
                                             SystemAudioManager& systemAudio, PreferencesManager& preferences,
                                             DeviceVolumeController& volumeController, SyncEngine& syncEngine,
                                             SyncProfileManager& syncProfiles, MainActor& actor)
    : deviceManager_(deviceManager), systemAudio_(systemAudio), preferences_(preferences),
      preset_(systemAudio, preferences, volumeController, actor),
      sync_(systemAudio, preferences, syncEngine, syncProfiles, actor,
            [this](const AudioManagerError& error) { show(lastError_, error); }),
      autoConnect_(preferences, deviceManager), rememberedPair_(deviceManager),
      stateSubscription_(systemAudio.observeState([this] { observers_.notify(); })),
      devicesSubscription_(deviceManager.observeDevices([this] {
          if (state().is<AudioSessionState::Degraded>()) observers_.notify(); // the lost one may be back
      })),
      presetSubscription_(preset_.observe([this] { observers_.notify(); })),
      waits_(systemAudio, deviceManager, actor,
             {.switchFailed = [this](auto) { return endAfterSwitch(); },
              .aggregateGone = [this](auto session) { return repair(std::move(session)); },
              .outputsLost = [this](auto session) { return endAfterLoss(std::move(session)); }}),
      tasks_(actor) {}

// What the user is shown

VeltoStatus DualOutputCoordinator::status() const {
    if (isReconnecting()) return VeltoStatus::Reconnecting{};
    if (state().is<AudioSessionState::Starting>())
        return VeltoStatus::Preparing{preparationStep_.value_or(PreparationStep::preparingAudio)};
    if (state().is<AudioSessionState::Stopping>()) return VeltoStatus::Connecting{};
    if (state().is<AudioSessionState::Active>()) return VeltoStatus::Playing{};
    if (const auto* failed = state().as<AudioSessionState::Failed>())
        return VeltoStatus::Error{failed->error};
    if (const auto* degraded = state().as<AudioSessionState::Degraded>()) {
        const bool isBack = deviceManager_.device(degraded->missing.uid).has_value();
        return VeltoStatus::Degraded{degraded->missing.name, isBack};
    }
    if (lastError_) return VeltoStatus::Error{*lastError_};
    return VeltoStatus::Idle{};
}

// The program's life

Task<void> DualOutputCoordinator::start() {
    co_await recover();
    if (isShuttingDown_) co_return;
    autoConnect_.begin();
    changesSubscription_ = deviceManager_.onChange([this] { handleDevicesChanged(); });
    deviceManager_.startObserving();
}

/// Cleans up after a session that was not ended. Without an answer it is for when the audio service is back.
Task<void> DualOutputCoordinator::recover() {
    if (const auto error = co_await failureOf(systemAudio_.recoverIfNeeded())) {
        logger.error("Could not clean up yet: {}", error->errorDescription());
    } else if (lastError_ && lastError_->isNoAnswer()) {
        dismissError();
    }
}

Task<void> DualOutputCoordinator::shutdown() {
    isShuttingDown_ = true;
    changesSubscription_.reset();
    deviceManager_.stopObserving();
    co_await systemAudio_.operationEnded();
    if (state().isActive()) {
        if (const auto error = co_await failureOf(systemAudio_.stop()))
            logger.error("Stop on shutdown failed: {}", error->errorDescription());
    }
    sessionChanged();
}

// Starting

Task<void> DualOutputCoordinator::startDualOutput(AudioOutputDevice first, AudioOutputDevice second) {
    co_await startSession(std::move(first), std::move(second), std::nullopt, {});
}

Task<void> DualOutputCoordinator::activatePreset(AudioPreset preset) {
    if (isShuttingDown_ || isBusy()) co_return;
    auto [first, second] = preset.resolve(deviceManager_.devices());
    if (!first || !second) {
        const auto& missing = first ? preset.second : preset.first;
        show(lastError_, AudioManagerError::deviceNotFound(missing.name));
        co_return;
    }
    co_await startSession(std::move(*first), std::move(*second), preset.id, preset.deviceSettings);
}

Task<void> DualOutputCoordinator::startSession(AudioOutputDevice first, AudioOutputDevice second,
                                               std::optional<UUID> presetID, Settings settings) {
    if (isShuttingDown_ || isBusy()) co_return;
    co_await systemAudio_.abandonOrRecoveryEnded();
    if (isShuttingDown_ || isBusy()) co_return; // meanwhile
    rememberedPair_.forget();
    beginOperation();
    waits_.end();
    auto progress = lifetime_.whileAlive([this](PreparationStep step) { show(preparationStep_, step); });
    if (const auto error = co_await failureOf(startSystemAudio(first, second, std::move(progress)))) {
        show(lastError_, error);
        sessionChanged();
    } else {
        preferences_.rememberLastUsed(first, second);
        preset_.begin(presetID, settings);
        sync_.sessionChanged();
        waits_.watchSwitch();
    }
    show(preparationStep_, std::nullopt);
    seeToLostOutputs();
}

/// What the user is shown of earlier ones is over.
void DualOutputCoordinator::beginOperation() {
    show(lastError_, std::nullopt);
    show(pendingDisconnectDecision_, std::nullopt);
}

/// A start with the preferences as they are now.
Task<void> DualOutputCoordinator::startSystemAudio(AudioOutputDevice first, AudioOutputDevice second,
                                                   SystemAudioManager::ProgressHandler progress) {
    return systemAudio_.start(std::move(first), std::move(second),
                              preferences_.effectiveAggregateDeviceName(), preferredSampleRate(),
                              preferences_.clockStrategy(), std::move(progress));
}

std::optional<double> DualOutputCoordinator::preferredSampleRate() const {
    const double rate = rawValue(preferences_.preferredSampleRate());
    return rate > 0 ? std::optional(rate) : std::nullopt;
}

// Stopping

Task<void> DualOutputCoordinator::stopDualOutput() {
    if (isShuttingDown_ || isBusy()) co_return;
    co_await stopSession();
}

Task<void> DualOutputCoordinator::stopSession() {
    co_await systemAudio_.abandonOrRecoveryEnded();
    if (isShuttingDown_ || isBusy()) co_return; // meanwhile
    rememberedPair_.forget();
    beginOperation();
    if (const auto error = co_await failureOf(systemAudio_.stop())) show(lastError_, error);
    sessionChanged();
}

Task<void> DualOutputCoordinator::resetAudioConfiguration() {
    co_await systemAudio_.operationEnded();
    if (isShuttingDown_) co_return;
    rememberedPair_.forget();
    show(lastError_, std::nullopt);
    if (state().isActive()) co_await stopSession();
    if (const auto error = co_await failureOf(systemAudio_.recoverIfNeeded())) {
        show(lastError_, error);
    } else if (!state().isActive() && !state().isBusy()) {
        preferences_.saveRecoveryState(std::nullopt);
        systemAudio_.clearFailure();
        const bool isClean = !deviceManager_.device(AggregateDeviceManager::aggregateUID);
        if (isClean) show(lastError_, std::nullopt); // whatever failed is repaired
    }
    sessionChanged();
}

void DualOutputCoordinator::dismissError() {
    show(lastError_, std::nullopt);
    systemAudio_.clearFailure();
}

// Rebuilding

Task<void> DualOutputCoordinator::reconnect() {
    const auto session = systemAudio_.activeSession();
    // An operation that leaves the state alone is giving the session up.
    if (!session || isShuttingDown_ || systemAudio_.isOperationRunning()) co_return;
    if (const auto missing = systemAudio_.missingSessionDevices(); !missing.empty()) {
        show(lastError_, AudioManagerError::deviceNotFound(missing.front().name));
        co_return;
    }
    beginOperation();
    waits_.end();
    const Settings settings = preset_.settings();
    const std::optional<AudioManagerError> error = co_await failureOf(rebuild(*session));
    if (error) show(lastError_, error);
    sessionChanged();
    if (!error) preset_.apply(settings);
    observers_.notify(); // the rebuild is over
    waits_.watchSwitch();
    seeToLostOutputs();
}

Task<void> DualOutputCoordinator::rebuild(DualOutputSession session) {
    // As they are now: their object IDs and rates may have changed.
    const auto now = [this](const AudioOutputDevice& device) {
        return deviceManager_.device(device.uid).value_or(device);
    };
    return systemAudio_.rebuild(now(session.first), now(session.second),
                                preferences_.effectiveAggregateDeviceName(), preferredSampleRate(),
                                preferences_.clockStrategy());
}

Task<void> DualOutputCoordinator::resolveDisconnect(bool keepPlaying) {
    show(pendingDisconnectDecision_, std::nullopt);
    if (!keepPlaying) co_await stopDualOutput();
}

void DualOutputCoordinator::sessionChanged() {
    if (!state().isActive()) {
        show(pendingDisconnectDecision_, std::nullopt);
        waits_.end();
    }
    preset_.sessionChanged();
    sync_.sessionChanged();
}

// Device changes

void DualOutputCoordinator::handleDevicesChanged() {
    autoConnect_.devicesChanged();
    if (isBusy() || systemAudio_.isAbandoning()) return;
    const auto session = systemAudio_.activeSession();
    if (session) {
        if (!wasSwitchedAway(*session)) checkSessionDevices();
    } else if (!startRememberedPair()) {
        const auto preset = autoConnect_.due();
        if (!preset) return;
        logger.notice("Auto Connect activating preset {}", publicText(preset->name));
        tasks_.spawn(startByItself(preset->id));
    }
}

bool DualOutputCoordinator::wasSwitchedAway(const DualOutputSession& session) {
    const auto& output = deviceManager_.defaultOutputDevice();
    if (!output) return false;
    const bool isChoice = systemAudio_.isSomebodysChoice(output->uid);
    waits_.watchSwitch();
    if (!isChoice) return false;
    if (isReturningOutput(output->uid, session, deviceManager_)) {
        logger.notice("macOS routed output to a reconnected session device; re-asserting dual output");
        if (systemAudio_.reassertDefaultOutput()) {
            waits_.watchSwitch();
            return false;
        }
        logger.error("The aggregate is gone");
        tasks_.spawn(repair(session));
        return true;
    }
    logger.notice("Default output switched away from the aggregate; ending session");
    tasks_.spawn(abandon(systemAudio_.abandonSession()));
    return true;
}

void DualOutputCoordinator::checkSessionDevices() {
    const bool wasDegraded = state().is<AudioSessionState::Degraded>();
    const bool needsRebuild = systemAudio_.updateDegradedState();
    preset_.sessionChanged();
    forgetAnsweredQuestion();
    waits_.watchForLoss();
    const auto* degraded = state().as<AudioSessionState::Degraded>();
    if (degraded && !wasDegraded) {
        applyDisconnectBehavior(degraded->missing);
    } else if (degraded && needsRebuild && preferences_.autoReconnect()) {
        tasks_.spawn(reconnectAfterReturn(degraded->session));
    }
}

/// The return of the lost output is an answer; and when nothing remains there is nothing to ask.
void DualOutputCoordinator::forgetAnsweredQuestion() {
    if (!pendingDisconnectDecision_) return;
    if (deviceManager_.device(pendingDisconnectDecision_->uid) || systemAudio_.isSessionWithoutOutputs())
        show(pendingDisconnectDecision_, std::nullopt);
}

/// At the end of a start or rebuild: of those that were there when it began.
void DualOutputCoordinator::seeToLostOutputs() {
    if (!state().is<AudioSessionState::Active>()) return;
    const auto isThere = [this](const AudioOutputDevice& output) {
        return deviceManager_.device(output.uid).has_value();
    };
    if (!std::ranges::all_of(systemAudio_.activeSession()->devices(), isThere)) checkSessionDevices();
}

void DualOutputCoordinator::applyDisconnectBehavior(const AudioOutputDevice& missing) {
    switch (preferences_.disconnectBehavior()) {
    case DisconnectBehavior::keepPlaying:
        break;
    case DisconnectBehavior::pauseGroup:
        logger.notice("Disconnect behaviour is pauseGroup; stopping");
        tasks_.spawn(stopAfterDisconnect(*systemAudio_.activeSession()));
        break;
    case DisconnectBehavior::askUser:
        if (!systemAudio_.isSessionWithoutOutputs()) show(pendingDisconnectDecision_, missing);
        break;
    }
}

// All outputs lost, or the switch

Task<void> DualOutputCoordinator::endAfterSwitch() {
    logger.error("The aggregate did not become the default output; ending session");
    co_await stopSession();
    if (!lastError_)
        show(lastError_, AudioManagerError::cannotSetDefaultOutput("The system did not switch to it."));
}

Task<void> DualOutputCoordinator::endAfterLoss(DualOutputSession session) {
    logger.notice("All outputs of the session are gone; ending session");
    RememberedPair::Content pair{std::move(session), preset_.id(), preset_.settings()};
    co_await stopSession();
    if (!state().is<AudioSessionState::Idle>() || !preferences_.autoReconnect()) co_return;
    rememberedPair_.remember(std::move(pair));
    startRememberedPair(); // when they came back while it ended
}

/// True when it is back, and about to play.
bool DualOutputCoordinator::startRememberedPair() {
    auto pair = rememberedPair_.takeWhenBack();
    if (!pair) return false;
    logger.notice("The lost outputs are back; playing together again");
    tasks_.spawn(startAgain(std::move(*pair)));
    return true;
}

Task<void> DualOutputCoordinator::startAgain(RememberedPair::Content pair) {
    const auto first = deviceManager_.device(pair.session.first.uid);
    const auto second = deviceManager_.device(pair.session.second.uid);
    if (!first || !second || state().isActive()) co_return; // by now
    co_await startSession(*first, *second, pair.presetID, std::move(pair.settings));
}

// Waking up

void DualOutputCoordinator::handleWake() {
    deviceManager_.refresh();
    const auto session = systemAudio_.activeSession();
    if (!session) return;
    if (systemAudio_.isSessionHealthy()) {
        handleDevicesChanged();
    } else {
        logger.error("Session is unhealthy after wake");
        tasks_.spawn(repair(*session));
    }
}

void DualOutputCoordinator::handleServiceRestart() {
    handleWake();
    sync_.sessionChanged();
    if (!isShuttingDown_) tasks_.spawn(recover());
}

// Tasks that events start. By the time they run, the world may be another one.

Task<void> DualOutputCoordinator::abandon(Task<void> abandoning) {
    co_await std::move(abandoning);
    sessionChanged();
}

Task<void> DualOutputCoordinator::stopAfterDisconnect(DualOutputSession session) {
    if (isRunning(session)) co_await stopDualOutput();
}

Task<void> DualOutputCoordinator::reconnectAfterReturn(DualOutputSession session) {
    if (isRunning(session)) co_await reconnect();
}

Task<void> DualOutputCoordinator::repair(DualOutputSession session) {
    if (!isRunning(session)) co_return;
    if (systemAudio_.missingSessionDevices().empty()) {
        co_await reconnect();
    } else { // nothing to rebuild it from
        systemAudio_.updateDegradedState();
        preset_.sessionChanged();
        waits_.watchForLoss();
    }
}

Task<void> DualOutputCoordinator::startByItself(UUID presetID) {
    if (isShuttingDown_ || isBusy() || state().isActive()) co_return;
    auto preset = preferences_.preset(presetID);
    if (!preset) co_return; // removed meanwhile
    co_await activatePreset(std::move(*preset));
}

} // namespace velto
