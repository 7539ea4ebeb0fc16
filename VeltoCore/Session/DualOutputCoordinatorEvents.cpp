// DualOutputCoordinator: what happens to the devices, and what is made of it.
#include "VeltoCore/Session/DualOutputCoordinator.h"

#include "VeltoCore/Services/LoggingService.h"
#include "VeltoCore/Session/ReturningOutput.h"
#include "VeltoCore/Settings/DisconnectBehavior.h"

#include <algorithm>
#include <utility>

namespace velto {

namespace {

constexpr const Logger& logger = LoggingService::routing;

} // namespace

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
    if (isReturningOutput(output->uid, SessionUIDs::of(session), deviceManager_)) {
        logger.notice("{} routed output to a reconnected session device; re-asserting dual output",
                      publicText(words_.system));
        if (systemAudio_.reassertDefaultOutput()) {
            waits_.watchSwitch();
            return false;
        }
        logger.error("The aggregate is gone");
        tasks_.spawn(repair(session));
        return true;
    }
    logger.notice("Default output switched away from the aggregate; ending session");
    tell({SessionEvent::Kind::endedByChoice, output->name});
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
    if (deviceManager_.device(pendingDisconnectDecision_->uid) || systemAudio_.isSessionSilenced())
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
    const bool isPlaying = !systemAudio_.isSessionSilenced();
    switch (preferences_.disconnectBehavior()) {
    case DisconnectBehavior::keepPlaying:
        if (isPlaying) tell({SessionEvent::Kind::outputLost, missing.name});
        break;
    case DisconnectBehavior::pauseGroup:
        logger.notice("Disconnect behaviour is pauseGroup; stopping");
        tell({SessionEvent::Kind::endedByLostOutput, missing.name});
        tasks_.spawn(stopAfterDisconnect(*systemAudio_.activeSession()));
        break;
    case DisconnectBehavior::askUser:
        if (!isPlaying) break;
        show(pendingDisconnectDecision_, missing);
        tell({SessionEvent::Kind::questionAsked, missing.name});
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
    const auto* degraded = state().as<AudioSessionState::Degraded>();
    const bool remainsOne = systemAudio_.missingSessionDevices().size() < session.devices().size();
    const SessionEvent event =
        degraded && remainsOne ? SessionEvent{SessionEvent::Kind::endedByLostOutput, degraded->missing.name}
                               : SessionEvent{SessionEvent::Kind::endedWithoutOutputs};
    logger.notice("The session has nothing left to play on; ending session");
    RememberedPair::Content pair{std::move(session), preset_.id(), preset_.settings()};
    co_await stopSession();
    if (!state().is<AudioSessionState::Idle>()) co_return;
    tell(event);
    if (!preferences_.autoReconnect()) co_return;
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
    systemAudio_.handleServiceRestart();
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
    const std::string name = preset->name;
    co_await activatePreset(std::move(*preset));
    if (activePresetID() == presetID) tell({SessionEvent::Kind::presetStarted, name});
}

} // namespace velto
