#include "VeltoCore/Session/SystemOutputs.h"

#include "VeltoCore/Aggregate/AggregateDeviceManager.h"
#include "VeltoCore/CoreAudio/Answer.h"
#include "VeltoCore/CoreAudio/ErrorConversion.h"
#include "VeltoCore/Devices/DeviceSelectionRules.h"
#include "VeltoCore/Services/LoggingService.h"

#include <utility>

namespace velto {

namespace {

constexpr const Logger& logger = LoggingService::systemOutput;

/// What the read gives, unless it fails.
std::optional<std::string> readable(auto read) {
    return answeredOr(std::nullopt, [&read]() -> std::optional<std::string> { return read(); });
}

/// The error being handled, if there was no answer.
void rethrowNoAnswer() {
    if (currentAudioManagerError().isNoAnswer()) throw;
}

std::optional<std::string> exceptOurs(std::optional<std::string> uid) noexcept {
    return uid == AggregateDeviceManager::aggregateUID ? std::nullopt : std::move(uid);
}

} // namespace

std::string SystemOutputs::currentDefaultOutputUID() const {
    return client_.deviceUID(client_.defaultOutputDeviceID());
}

std::string SystemOutputs::currentSystemOutputUID() const {
    return client_.deviceUID(client_.defaultSystemOutputDeviceID());
}

bool SystemOutputs::isDefaultOutputOurs() const {
    return readable([this] { return currentDefaultOutputUID(); }) == AggregateDeviceManager::aggregateUID;
}

bool SystemOutputs::isSystemOutputOurs() const {
    return readable([this] { return currentSystemOutputUID(); }) == AggregateDeviceManager::aggregateUID;
}

PreviousOutputs SystemOutputs::inForce() const {
    return {exceptOurs(readable([this] { return currentDefaultOutputUID(); })),
            exceptOurs(readable([this] { return currentSystemOutputUID(); }))};
}

bool SystemOutputs::isDefaultOutputChosen() {
    const auto uid = readable([this] { return currentDefaultOutputUID(); });
    return !uid || isChoice(*uid);
}

bool SystemOutputs::isChoice(const std::string& defaultUID) {
    const bool isChoice = switch_.isChoice(defaultUID);
    if (defaultUID == AggregateDeviceManager::aggregateUID) fallback_.reset();
    return isChoice && (!fallback_ || fallback_->isChoice(defaultUID));
}

void SystemOutputs::endSwitch() noexcept {
    switch_.end();
    fallback_.reset();
}

void SystemOutputs::fallBack(SessionUIDs session) {
    endSwitch();
    fallback_.emplace(deviceManager_, std::move(session));
}

void SystemOutputs::expectDefaultOfBefore() {
    if (auto uid = exceptOurs(readable([this] { return currentDefaultOutputUID(); })))
        switch_.mayShowFirst(std::move(*uid));
}

bool SystemOutputs::isSwitchPending() {
    if (const auto& output = deviceManager_.defaultOutputDevice()) switch_.isChoice(output->uid);
    return switch_.isPending();
}

void SystemOutputs::switchAgainTo(AudioObjectID device) {
    fallback_.reset();
    expectDefaultOfBefore();
    client_.setDefaultOutputDevice(device);
    switch_.begin();
    client_.setDefaultSystemOutputDevice(device);
}

void SystemOutputs::switchTo(AudioObjectID device, const PreviousOutputs& previous) {
    bool isDefaultSwitched = false;
    std::string reason;
    fallback_.reset();
    expectDefaultOfBefore();
    try {
        client_.setDefaultOutputDevice(device);
        isDefaultSwitched = true; // NOLINT(clang-analyzer-deadcode.DeadStores): the next one may throw
        client_.setDefaultSystemOutputDevice(device);
        switch_.begin();
        return;
    } catch (...) {
        rethrowNoAnswer();
        reason = currentAudioManagerError().errorDescription();
        logger.error("Failed to set default output: {}", reason);
    }
    // The call that failed may have done its work all the same, and one that worked may still read old.
    const bool isSystemSwitched = isSystemOutputOurs();
    isDefaultSwitched = isDefaultSwitched || isDefaultOutputOurs();
    deviceManager_.refresh();
    if (isSystemSwitched) switchBack(&CoreAudioClient::setDefaultSystemOutputDevice, previous.systemUID);
    if (isDefaultSwitched) switchBack(&CoreAudioClient::setDefaultOutputDevice, previous.defaultUID);
    throw AudioManagerError::cannotSetDefaultOutput(reason);
}

void SystemOutputs::switchBack(SetOutput setOutput, const std::optional<std::string>& previousUID) {
    try {
        const AudioOutputDevice target = resolveRestoreTarget(previousUID);
        (client_.*setOutput)(target.deviceID);
        logger.info("Switched back to {}", publicText(target.name));
    } catch (...) {
        rethrowNoAnswer();
        logger.error("Could not switch back the output: {}", currentErrorDescription());
    }
}

std::optional<AudioManagerError> SystemOutputs::restore(const PreviousOutputs& previous) {
    try {
        restoreSystemOutput(previous.systemUID, restoreDefaultOutput(previous.defaultUID));
        return std::nullopt;
    } catch (...) {
        rethrowNoAnswer();
        AudioManagerError error = currentAudioManagerError();
        logger.error("Restore failed: {}", error.errorDescription());
        return error;
    }
}

AudioOutputDevice SystemOutputs::restoreDefaultOutput(const std::optional<std::string>& previousUID) {
    deviceManager_.refresh();
    AudioOutputDevice target = resolveRestoreTarget(previousUID);
    // What the system has gone back to by itself need not become somebody's choice.
    if (fallback_ && readable([this] { return currentDefaultOutputUID(); }) == target.uid) return target;
    try {
        client_.setDefaultOutputDevice(target.deviceID);
    } catch (...) {
        rethrowNoAnswer();
        throw AudioManagerError::cannotRestoreOutput(currentAudioManagerError().errorDescription());
    }
    switch_.mayShowFirst(target.uid);
    logger.info("Restored default output to {}", publicText(target.name));
    return target;
}

void SystemOutputs::restoreSystemOutput(const std::optional<std::string>& previousUID,
                                        const AudioOutputDevice& defaultTarget) {
    AudioOutputDevice target = defaultTarget;
    try {
        target = resolveRestoreTarget(previousUID);
    } catch (...) { // nothing to go back to: alerts go where the sound goes
    }
    try {
        client_.setDefaultSystemOutputDevice(target.deviceID);
    } catch (...) {
        rethrowNoAnswer();
        logger.error("Could not restore system alert output: {}", currentErrorDescription());
    }
}

AudioOutputDevice SystemOutputs::resolveRestoreTarget(const std::optional<std::string>& uid) const {
    if (uid && *uid != AggregateDeviceManager::aggregateUID) {
        const auto device = deviceManager_.device(*uid);
        if (device && device->outputChannelCount > 0) return *device;
    }
    const auto fallback = DeviceSelectionRules::fallbackOutputDevice(deviceManager_.devices(),
                                                                     AggregateDeviceManager::aggregateUID);
    if (!fallback) throw AudioManagerError::cannotRestoreOutput("No output device is available.");
    logger.notice("Previous output unavailable; falling back to {}", publicText(fallback->name));
    return *fallback;
}

} // namespace velto
