// SystemAudioManager: what it knows and does of a session that runs: which outputs take part, whether it is
// well, whether sound still goes there.
#include "VeltoCore/CoreAudio/Answer.h"
#include "VeltoCore/CoreAudio/ErrorConversion.h"
#include "VeltoCore/Services/LoggingService.h"
#include "VeltoCore/Session/SystemAudioManager.h"

#include <algorithm>

namespace velto {

namespace {

constexpr const Logger& logger = LoggingService::systemOutput;

} // namespace

bool SystemAudioManager::reassertDefaultOutput() {
    const auto session = activeSession();
    if (!session || operation_.running()) return true; // a session that is being given up stays down
    try {
        if (!isAggregatePresent(*session)) return false;
        outputs_.switchAgainTo(session->aggregateDeviceID);
        logger.notice("Re-asserted aggregate as default output");
    } catch (...) {
        logger.error("Could not re-assert default output: {}", currentErrorDescription());
    }
    deviceManager_.refresh();
    return true;
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
        state_.set(AudioSessionState::Degraded{*activeSession(), missing.front()});
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
    state_.set(AudioSessionState::Active{degraded.session});
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

bool SystemAudioManager::isSessionHealthy() noexcept {
    const auto session = activeSession();
    if (!session) return false;
    try {
        return answeredOr(false,
                          [&] { return isAggregatePresent(*session) && !outputs_.isDefaultOutputChosen(); });
    } catch (const AudioManagerError&) { // no answer
        return true;
    }
}

void SystemAudioManager::clearFailure() {
    if (state().is<AudioSessionState::Failed>()) state_.set(AudioSessionState::Idle{});
}

} // namespace velto
