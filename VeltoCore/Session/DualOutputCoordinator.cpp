#include "VeltoCore/Session/DualOutputCoordinator.h"

#include "VeltoCore/Aggregate/AggregateDeviceManager.h"
#include "VeltoCore/CoreAudio/ErrorConversion.h"
#include "VeltoCore/Services/LoggingService.h"

#include <utility>

namespace velto {

namespace {

constexpr const Logger& logger = LoggingService::routing;

} // namespace

DualOutputCoordinator::DualOutputCoordinator(AudioDeviceManager& deviceManager,
                                             SystemAudioManager& systemAudio, PreferencesManager& preferences,
                                             DeviceVolumeController& volumeController, SyncEngine& syncEngine,
                                             SyncProfileManager& syncProfiles, MainActor& actor,
                                             const PlatformWords& words)
    : deviceManager_(deviceManager), systemAudio_(systemAudio), preferences_(preferences), words_(words),
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

void DualOutputCoordinator::tell(const SessionEvent& event) const {
    if (eventHandler_ && !isShuttingDown_) eventHandler_(event);
}

Task<void> DualOutputCoordinator::cleanUp() {
    if (co_await systemAudio_.recoverIfNeeded()) tell({SessionEvent::Kind::recovered});
}

/// Cleans up after a session that was not ended. Without an answer it is for when the audio service is back.
Task<void> DualOutputCoordinator::recover() {
    if (const auto error = co_await failureOf(cleanUp())) {
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
        autoConnect_.devicesChanged(); // what came while it ran is no reason to start another one
    }
    preset_.sessionChanged();
    sync_.sessionChanged();
}

} // namespace velto
