// DualOutputCoordinator: what it does when devices come and go, when somebody else picks an output, and after
// the machine woke.
#include "VeltoCore/Session/DualOutputCoordinator.h"

#include "VeltoCore/Async/WakingSleep.h"
#include "VeltoCore/Services/LoggingService.h"
#include "VeltoCore/Session/ReturningOutput.h"
#include "VeltoCore/Settings/AutomationRuleEvaluator.h"
#include "VeltoCore/Settings/DisconnectBehavior.h"

#include <chrono>
#include <utility>

namespace velto {

namespace {

constexpr const Logger& logger = LoggingService::routing;

/// What a switch to the aggregate is given to show.
constexpr Duration switchPatience = std::chrono::seconds(5);
/// How long a session waits for any of its outputs.
constexpr Duration lossPatience = std::chrono::seconds(5);

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
        if (!startRememberedPair()) evaluateAutoConnect(connected, previous);
    } else if (!wasSwitchedAway(*session)) {
        checkSessionDevices();
    }
}

bool DualOutputCoordinator::wasSwitchedAway(const DualOutputSession& session) {
    const auto& output = deviceManager_.defaultOutputDevice();
    if (!output) return false;
    const bool isChoice = systemAudio_.isSomebodysChoice(output->uid);
    watchSwitch();
    if (!isChoice) return false;
    if (isReturningOutput(output->uid, session, deviceManager_)) {
        logger.notice("macOS routed output to a reconnected session device; re-asserting dual output");
        if (systemAudio_.reassertDefaultOutput()) {
            watchSwitch();
            return false;
        }
        logger.error("The aggregate is gone");
        tasks_.spawn(repair(session));
        return true;
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
    noteSettings();
    forgetAnsweredQuestion();
    watchForLoss();
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
    if (deviceManager_.device(pendingDisconnectDecision_->uid) || isAllLost())
        show(pendingDisconnectDecision_, std::optional<AudioOutputDevice>());
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
        if (!isAllLost()) show(pendingDisconnectDecision_, std::optional(missing));
        break;
    }
}

// All outputs lost

bool DualOutputCoordinator::isAllLost() const {
    const auto session = systemAudio_.activeSession();
    return session && systemAudio_.missingSessionDevices().size() == session->devices().size();
}

/// Where sound can't go elsewhere, or nobody can say what is there, the session waits.
bool DualOutputCoordinator::canEndForLoss() const {
    return isAllLost() && systemAudio_.isAnswering() && !deviceManager_.selectableDevices().empty();
}

void DualOutputCoordinator::end(std::optional<CancellationSource>& wait) {
    if (wait) wait->cancel();
    wait.reset();
}

void DualOutputCoordinator::watchForLoss() {
    if (!canEndForLoss()) {
        end(lossWait_);
    } else if (!lossWait_) {
        lossWait_.emplace();
        tasks_.spawn(endAfterLoss(*systemAudio_.activeSession(), lossWait_->token()));
    }
}

Task<void> DualOutputCoordinator::endAfterLoss(DualOutputSession session, CancellationToken token) {
    const auto isAnswering = [this] { return systemAudio_.isAnswering(); };
    if (co_await wakingSleep(actor_, lossPatience, token, isAnswering) == SleepResult::cancelled) co_return;
    lossWait_.reset();
    if (!isRunning(session) || systemAudio_.isOperationRunning() || !canEndForLoss()) co_return;
    logger.notice("All outputs of the session are gone; ending session");
    RememberedPair::Content pair{std::move(session), activePresetID_, sessionSettings_};
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

// A switch that does not show

void DualOutputCoordinator::watchSwitch() {
    if (!systemAudio_.isSwitchPending()) {
        end(switchWait_);
    } else if (!switchWait_ && systemAudio_.isAnswering()) {
        switchWait_.emplace();
        tasks_.spawn(confirmSwitch(*systemAudio_.activeSession(), switchWait_->token()));
    }
}

Task<void> DualOutputCoordinator::confirmSwitch(DualOutputSession session, CancellationToken token) {
    for (const bool isLast : {false, true}) {
        const auto isAnswering = [this] { return systemAudio_.isAnswering(); };
        if (co_await wakingSleep(actor_, switchPatience, token, isAnswering) == SleepResult::cancelled)
            co_return;
        if (!isRunning(session) || systemAudio_.isOperationRunning() || !systemAudio_.isAnswering()) break;
        deviceManager_.refresh();
        if (!systemAudio_.isSwitchPending()) break;
        if (!isLast) {
            if (systemAudio_.reassertDefaultOutput()) continue;
            tasks_.spawn(repair(session));
            break;
        }
        logger.error("The aggregate did not become the default output; ending session");
        switchWait_.reset();
        co_await stopSession();
        const auto error = AudioManagerError::cannotSetDefaultOutput("The system did not switch to it.");
        if (!lastError_) show(lastError_, std::optional(error));
        co_return;
    }
    switchWait_.reset();
}

// Auto Connect

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
        tasks_.spawn(repair(*session));
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

Task<void> DualOutputCoordinator::repair(DualOutputSession session) {
    if (!isRunning(session)) co_return;
    if (systemAudio_.missingSessionDevices().empty()) {
        co_await reconnect();
    } else { // nothing to rebuild it from
        systemAudio_.updateDegradedState();
        syncVolumeTracking();
        watchForLoss();
    }
}

Task<void> DualOutputCoordinator::autoConnect(UUID presetID) {
    if (isShuttingDown_ || isBusy() || state().isActive()) co_return;
    auto preset = preferences_.preset(presetID);
    if (!preset) co_return; // removed meanwhile
    co_await activatePreset(std::move(*preset));
}

} // namespace velto
