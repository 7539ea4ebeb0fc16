#include "VeltoCore/Session/DualOutputCoordinator.h"

#include "VeltoCore/Aggregate/AggregateDeviceManager.h"
#include "VeltoCore/CoreAudio/ErrorConversion.h"
#include "VeltoCore/Services/LoggingService.h"

#include <algorithm>
#include <utility>

namespace velto {

namespace {

constexpr const Logger& logger = LoggingService::routing;

/// The master volume over these; none where no device has a volume.
std::optional<float> loudest(const DeviceVolumeController::Settings& settings) {
    std::optional<float> volume;
    for (const auto& entry : settings)
        volume = std::max(volume, entry.second.volume); // none is less than any
    return volume;
}

} // namespace

DualOutputCoordinator::DualOutputCoordinator(AudioDeviceManager& deviceManager,
                                             SystemAudioManager& systemAudio, PreferencesManager& preferences,
                                             DeviceVolumeController& volumeController, SyncEngine& syncEngine,
                                             SyncProfileManager& syncProfiles, MainActor& actor)
    : deviceManager_(deviceManager), systemAudio_(systemAudio), preferences_(preferences),
      volumeController_(volumeController), syncEngine_(syncEngine), syncProfiles_(syncProfiles),
      actor_(actor), stateSubscription_(systemAudio.observeState([this] { observers_.notify(); })),
      devicesSubscription_(deviceManager.observeDevices([this] {
          if (state().is<AudioSessionState::Degraded>()) observers_.notify(); // the lost one may be back
      })),
      volumeSubscription_(volumeController.observeAdjustments([this] {
          noteSettings();
          updateActivePresetSettings();
      })),
      rememberedPair_(deviceManager), tasks_(actor) {}

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

std::optional<SyncProfile> DualOutputCoordinator::currentSyncProfile() const {
    const auto session = systemAudio_.activeSession();
    return session ? syncProfiles_.profile({session->first.uid, session->second.uid}) : std::nullopt;
}

// The program's life

Task<void> DualOutputCoordinator::start() {
    co_await recover();
    if (isShuttingDown_) co_return;
    previousConnectedUIDs_ = deviceManager_.knownUIDs();
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
        show(activePresetID_, std::optional<UUID>());
    }
    volumeController_.stopTracking();
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
        show(lastError_, std::optional(AudioManagerError::deviceNotFound(missing.name)));
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
    show(lastError_, std::optional<AudioManagerError>());
    show(pendingDisconnectDecision_, std::optional<AudioOutputDevice>());
    hasMissedChanges_ = false;
    endWaits();
    auto progress =
        lifetime_.whileAlive([this](PreparationStep step) { show(preparationStep_, std::optional(step)); });
    if (const auto error = co_await failureOf(startSystemAudio(first, second, std::move(progress)))) {
        show(lastError_, error);
        sessionChanged();
    } else {
        startSucceeded(first, second, presetID, settings);
    }
    show(preparationStep_, std::optional<PreparationStep>());
    checkSessionDevicesIfMissed();
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

void DualOutputCoordinator::startSucceeded(const AudioOutputDevice& first, const AudioOutputDevice& second,
                                           std::optional<UUID> presetID, const Settings& settings) {
    preferences_.rememberLastUsed(first, second);
    show(activePresetID_, presetID);
    sessionSettings_.clear();
    syncVolumeTracking();
    if (!settings.empty()) volumeController_.apply(settings);
    noteSettings();
    watchSwitch();
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
    show(lastError_, std::optional<AudioManagerError>());
    show(pendingDisconnectDecision_, std::optional<AudioOutputDevice>());
    if (const auto error = co_await failureOf(systemAudio_.stop())) show(lastError_, error);
    sessionChanged();
}

Task<void> DualOutputCoordinator::resetAudioConfiguration() {
    if (isShuttingDown_ || std::exchange(isResetting_, true)) co_return;
    co_await systemAudio_.operationEnded();
    if (!isShuttingDown_) {
        rememberedPair_.forget();
        show(lastError_, std::optional<AudioManagerError>());
        if (state().isActive()) co_await stopSession();
        if (const auto error = co_await failureOf(systemAudio_.recoverIfNeeded())) {
            show(lastError_, error);
        } else if (!state().isActive() && !state().isBusy()) {
            preferences_.saveRecoveryState(std::nullopt);
            systemAudio_.clearFailure();
            const bool isClean = !deviceManager_.device(AggregateDeviceManager::aggregateUID);
            if (isClean) show(lastError_, std::optional<AudioManagerError>()); // whatever failed is repaired
        }
        sessionChanged();
    }
    isResetting_ = false;
}

void DualOutputCoordinator::dismissError() {
    show(lastError_, std::optional<AudioManagerError>());
    systemAudio_.clearFailure();
}

// Rebuilding

Task<void> DualOutputCoordinator::reconnect() {
    const auto session = systemAudio_.activeSession();
    // An operation that leaves the state alone is giving the session up.
    if (!session || isShuttingDown_ || systemAudio_.isOperationRunning()) co_return;
    if (const auto missing = systemAudio_.missingSessionDevices(); !missing.empty()) {
        show(lastError_, std::optional(AudioManagerError::deviceNotFound(missing.front().name)));
        co_return;
    }
    show(pendingDisconnectDecision_, std::optional<AudioOutputDevice>());
    show(lastError_, std::optional<AudioManagerError>());
    hasMissedChanges_ = false;
    endWaits();
    const Settings settings = volumeController_.currentSettings();
    const std::optional<AudioManagerError> error = co_await failureOf(rebuild(*session));
    if (error) show(lastError_, error);
    sessionChanged();
    if (!error) volumeController_.apply(settings);
    observers_.notify(); // the rebuild is over
    watchSwitch();
    checkSessionDevicesIfMissed();
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
    show(pendingDisconnectDecision_, std::optional<AudioOutputDevice>());
    if (!keepPlaying) co_await stopDualOutput();
}

// Presets and volumes

std::optional<AudioPreset> DualOutputCoordinator::saveCurrentSessionAsPreset(std::string named) {
    const auto session = systemAudio_.activeSession();
    if (!session) return std::nullopt;
    auto preset = AudioPreset::create(std::move(named), session->first, session->second, actor_.now());
    preset.deviceSettings = volumeController_.currentSettings();
    preset.masterVolume = loudest(preset.deviceSettings);
    const UUID id = preset.id;
    preferences_.savePreset(std::move(preset));
    show(activePresetID_, std::optional(id));
    return preferences_.preset(id);
}

void DualOutputCoordinator::updateActivePresetSettings() {
    if (!activePresetID_ || !state().is<AudioSessionState::Active>()) return;
    // The settings of an output that is missing would be lost.
    if (!std::ranges::all_of(volumeController_.states(), &DeviceVolumeState::isConnected)) return;
    const auto preset = preferences_.preset(*activePresetID_);
    if (!preset) return;
    AudioPreset changed = *preset;
    changed.deviceSettings = volumeController_.currentSettings();
    if (const auto master = loudest(changed.deviceSettings)) changed.masterVolume = master;
    if (changed != *preset) preferences_.savePreset(std::move(changed));
}

void DualOutputCoordinator::sessionChanged() {
    if (!state().isActive()) {
        show(activePresetID_, std::optional<UUID>());
        show(pendingDisconnectDecision_, std::optional<AudioOutputDevice>());
        endWaits();
    }
    syncVolumeTracking();
}

void DualOutputCoordinator::syncVolumeTracking() {
    if (const auto session = systemAudio_.activeSession()) {
        volumeController_.track({session->first, session->second}, session->aggregateDeviceID);
    } else {
        volumeController_.stopTracking();
    }
}

/// An output that is gone keeps those that it had.
void DualOutputCoordinator::noteSettings() {
    for (const auto& [uid, settings] : volumeController_.currentSettings())
        sessionSettings_.insert_or_assign(uid, settings);
}

} // namespace velto
