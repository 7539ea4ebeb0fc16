// DualOutputCoordinator: what it does when devices come and go, when somebody else picks an output, and after
// the machine woke.
#include "VeltoCore/Session/DualOutputCoordinator.h"

#include "VeltoCore/Services/LoggingService.h"
#include "VeltoCore/Session/DisconnectBehavior.h"
#include "VeltoCore/Settings/AutomationRuleEvaluator.h"

#include <utility>

namespace velto {

namespace {

constexpr const Logger& logger = LoggingService::routing;

/// How long after an output came back the system may pick it without that being somebody's choice, in
/// seconds.
constexpr double reconnectionWindow = 15;

} // namespace

// Device changes

void DualOutputCoordinator::handleDevicesChanged() {
    const std::set<std::string> connected = deviceManager_.connectedUIDs();
    const std::set<std::string> previous =
        std::exchange(previousConnectedUIDs_, deviceManager_.knownUIDs()).value_or(connected);
    if (isBusy() || isAbandoning_) {
        hasMissedChanges_ = true;
        return;
    }
    const auto session = systemAudio_.activeSession();
    if (!session) {
        evaluateAutoConnect(connected, previous);
    } else if (!wasSwitchedAway(*session)) {
        checkSessionDevices();
    }
}

bool DualOutputCoordinator::wasSwitchedAway(const DualOutputSession& session) {
    const auto& output = deviceManager_.defaultOutputDevice();
    if (!output || output->uid == session.aggregateUID) return false;
    const bool isOfSession = output->uid == session.first.uid || output->uid == session.second.uid;
    if (isOfSession && deviceManager_.wasRecentlyConnected(output->uid, reconnectionWindow)) {
        logger.notice("macOS routed output to a reconnected session device; re-asserting dual output");
        systemAudio_.reassertDefaultOutput();
        return false;
    }
    logger.notice("Default output switched away from the aggregate; ending session");
    isAbandoning_ = true;
    tasks_.spawn(abandon(session));
    return true;
}

void DualOutputCoordinator::checkSessionDevices() {
    const bool wasDegraded = state().is<AudioSessionState::Degraded>();
    const bool needsRebuild = systemAudio_.updateDegradedState();
    syncVolumeTracking();
    const auto* degraded = state().as<AudioSessionState::Degraded>();
    if (degraded && !wasDegraded) {
        applyDisconnectBehavior(degraded->missing);
    } else if (degraded && needsRebuild && preferences_.autoReconnect()) {
        tasks_.spawn(reconnectAfterReturn(degraded->session));
    }
}

/// At the end of a start or rebuild: what came meanwhile.
void DualOutputCoordinator::checkSessionDevicesIfMissed() {
    if (std::exchange(hasMissedChanges_, false) && state().is<AudioSessionState::Active>())
        checkSessionDevices();
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
        show(pendingDisconnectDecision_, std::optional(missing));
        break;
    }
}

void DualOutputCoordinator::evaluateAutoConnect(const std::set<std::string>& connected,
                                                const std::set<std::string>& previous) {
    if (!preferences_.autoConnect()) return;
    for (const AutomationRule::Action& action :
         AutomationRuleEvaluator::actions(preferences_.automationRules(), connected, previous)) {
        const auto preset = preferences_.preset(std::get<AutomationRule::ActivatePreset>(action).id);
        if (!preset) continue;
        logger.notice("Auto Connect activating preset {}", publicText(preset->name));
        tasks_.spawn(autoConnect(preset->id));
        return; // only one can play
    }
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
        tasks_.spawn(repairAfterWake(*session));
    }
}

void DualOutputCoordinator::handleServiceRestart() {
    handleWake();
    if (!isShuttingDown_) tasks_.spawn(recover());
}

// Tasks that events start. By the time they run, the world may be another one.

Task<void> DualOutputCoordinator::abandon(DualOutputSession session) {
    if (isRunning(session)) {
        co_await systemAudio_.abandonSession();
        sessionChanged();
    }
    isAbandoning_ = false;
}

Task<void> DualOutputCoordinator::stopAfterDisconnect(DualOutputSession session) {
    if (isRunning(session)) co_await stopDualOutput();
}

Task<void> DualOutputCoordinator::reconnectAfterReturn(DualOutputSession session) {
    if (isRunning(session)) co_await reconnect();
}

Task<void> DualOutputCoordinator::repairAfterWake(DualOutputSession session) {
    if (!isRunning(session)) co_return;
    if (systemAudio_.missingSessionDevices().empty()) {
        co_await reconnect();
    } else { // nothing to rebuild it from
        systemAudio_.updateDegradedState();
        syncVolumeTracking();
    }
}

Task<void> DualOutputCoordinator::autoConnect(UUID presetID) {
    if (isShuttingDown_ || isBusy() || state().isActive()) co_return;
    auto preset = preferences_.preset(presetID);
    if (!preset) co_return; // removed meanwhile
    auto activated = activatePreset(std::move(*preset));
    co_await std::move(activated);
}

} // namespace velto
