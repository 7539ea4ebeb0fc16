#include "Simulation/SimulatedAudioSystem.h"

#include "VeltoCore/CoreAudio/AudioManagerError.h"
#include "VeltoCore/CoreAudio/CoreAudioStatus.h"
#include "VeltoCore/Services/LoggingService.h"

#include <utility>

namespace velto {

namespace {

constexpr AudioObjectID theSystem = kAudioObjectSystemObject;

[[noreturn]] void refuse(OSStatus status) { throw AudioManagerError::coreAudioError(status); }

} // namespace

// Devices

std::vector<AudioObjectID> SimulatedAudioSystem::allDeviceIDs() {
    return perform(Operation::allDeviceIDs, theSystem, [](Hardware& known) {
        std::vector<AudioObjectID> ids;
        for (const auto& plugged : known.plugged()) {
            if (plugged.device.isListed) ids.push_back(plugged.id);
        }
        for (const auto& aggregate : known.aggregates())
            ids.push_back(aggregate.id);
        return ids;
    });
}

std::optional<AudioObjectID> SimulatedAudioSystem::deviceID(std::string_view forUID) {
    return perform(Operation::deviceIDForUID, theSystem, [&](Hardware& known) {
        const AudioObjectID id = known.objectID(forUID);
        return id == kAudioObjectUnknown ? std::nullopt : std::optional(id);
    });
}

std::string SimulatedAudioSystem::deviceUID(AudioObjectID device) {
    return perform(Operation::deviceUID, device, [&](Hardware& known) {
        std::string result = known.uid(device);
        if (result.empty()) refuse(kAudioHardwareBadObjectError);
        return result;
    });
}

std::string SimulatedAudioSystem::deviceName(AudioObjectID device) {
    return perform(Operation::deviceName, device, [&](Hardware& known) {
        if (const auto* found = known.aggregate(device)) return found->description.name;
        if (const auto* found = known.member(device)) return known.plugged().find(found->uid)->device.name;
        return known.requireDevice(device).name;
    });
}

std::uint32_t SimulatedAudioSystem::transportType(AudioObjectID device) {
    return perform(Operation::transportType, device, [&](Hardware& known) -> std::uint32_t {
        if (known.aggregate(device)) return kAudioDeviceTransportTypeAggregate;
        return known.requireDevice(device).transport;
    });
}

std::optional<std::string> SimulatedAudioSystem::deviceManufacturer(AudioObjectID device) noexcept {
    return answer(Operation::deviceManufacturer, device, &SimulatedDevice::manufacturer);
}

std::optional<std::int64_t> SimulatedAudioSystem::outputLatencyFrames(AudioObjectID device) noexcept {
    return answer(Operation::outputLatencyFrames, device, &SimulatedDevice::latencyFrames);
}

std::optional<std::int64_t> SimulatedAudioSystem::outputSafetyOffsetFrames(AudioObjectID device) noexcept {
    return answer(Operation::outputSafetyOffsetFrames, device, &SimulatedDevice::safetyOffsetFrames);
}

std::int64_t SimulatedAudioSystem::outputChannelCount(AudioObjectID device) {
    return perform(Operation::outputChannelCount, device, [&](Hardware& known) -> std::int64_t {
        return known.aggregate(device) ? 2 : known.requireDevice(device).outputChannels;
    });
}

bool SimulatedAudioSystem::isAlive(AudioObjectID device) noexcept {
    return answer(Operation::isAlive, device, false, [&](Hardware& known) {
        if (const auto* found = known.aggregate(device)) return found->isAlive;
        const auto* found = known.plugged().find(device);
        return found && found->device.isAlive;
    });
}

bool SimulatedAudioSystem::isHidden(AudioObjectID device) noexcept {
    return answer(Operation::isHidden, device, &SimulatedDevice::isHidden);
}

bool SimulatedAudioSystem::isRunningSomewhere(AudioObjectID device) noexcept {
    return answer(Operation::isRunningSomewhere, device, &SimulatedDevice::isRunning);
}

// Sample rates

double SimulatedAudioSystem::nominalSampleRate(AudioObjectID device) {
    return perform(Operation::nominalSampleRate, device, [&](Hardware& known) {
        if (const auto* found = known.aggregate(device)) return found->sampleRate;
        return known.requireDevice(device).sampleRate;
    });
}

std::vector<SampleRateRange> SimulatedAudioSystem::availableSampleRates(AudioObjectID device) {
    return perform(Operation::availableSampleRates, device,
                   [=](Hardware& known) { return known.availableSampleRates(device); });
}

void SimulatedAudioSystem::setNominalSampleRate(AudioObjectID device, double sampleRate) {
    perform(Operation::setNominalSampleRate, device, [=, this](Hardware& known) {
        if (!known.aggregate(device) && !known.requireDevice(device).supports(sampleRate))
            refuse(kAudioDeviceUnsupportedFormatError);
        doAfter(faults.slowRateChange.consume(),
                [=](Hardware& hardware) { hardware.setSampleRate(device, sampleRate); });
    });
}

// The system's outputs

AudioObjectID SimulatedAudioSystem::defaultOutputDeviceID() {
    return perform(Operation::defaultOutputDeviceID, theSystem,
                   [](Hardware& known) { return known.defaultOutput(); });
}

void SimulatedAudioSystem::setDefaultOutputDevice(AudioObjectID device) {
    perform(Operation::setDefaultOutputDevice, device, [=, this](Hardware& known) {
        if (!known.canPlay(device)) refuse(kAudioHardwareBadDeviceError);
        doAfter(faults.slowOutputChange.consume(), [device](Hardware& hardware) {
            if (hardware.canPlay(device)) hardware.setDefaultOutput(device);
        });
    });
}

AudioObjectID SimulatedAudioSystem::defaultSystemOutputDeviceID() {
    return perform(Operation::defaultSystemOutputDeviceID, theSystem,
                   [](Hardware& known) { return known.alertOutput(); });
}

void SimulatedAudioSystem::setDefaultSystemOutputDevice(AudioObjectID device) {
    perform(Operation::setDefaultSystemOutputDevice, device, [=, this](Hardware& known) {
        if (!known.canPlay(device)) refuse(kAudioHardwareBadDeviceError);
        doAfter(faults.slowOutputChange.consume(), [device](Hardware& hardware) {
            if (hardware.canPlay(device)) hardware.setAlertOutput(device);
        });
    });
}

// Aggregates

AudioObjectID SimulatedAudioSystem::createAggregateDevice(const AggregateDeviceDescription& description) {
    return perform(Operation::createAggregateDevice, theSystem, [this, description](Hardware&) {
        if (faults.createsInvalidDevice.consume())
            throw AudioManagerError::aggregateCreationFailed("Core Audio returned an invalid device.");
        return makeAggregate(description);
    });
}

void SimulatedAudioSystem::destroyAggregateDevice(AudioObjectID device) {
    perform(Operation::destroyAggregateDevice, device, [=, this](Hardware& known) {
        if (known.requireAggregate(device).isGoing) refuse(kAudioHardwareBadObjectError);
        destroyAggregate(device);
    });
}

CompositionDictionary SimulatedAudioSystem::aggregateComposition(AudioObjectID device) {
    return perform(Operation::aggregateComposition, device, [&](Hardware& known) {
        const auto& found = known.requireAggregate(device);
        AggregateDeviceDescription description = found.description;
        description.subDevices.clear();
        for (const auto& member : found.members)
            description.subDevices.push_back({member.uid, member.driftCompensation});
        CompositionDictionary composition = description.dictionaryRepresentation();
        if (faults.hidesSubDevices.consume()) composition.erase(std::string(CompositionKey::subDevices));
        return composition;
    });
}

std::vector<std::string> SimulatedAudioSystem::aggregateFullSubDeviceUIDs(AudioObjectID device) {
    return perform(Operation::aggregateFullSubDeviceUIDs, device, [&](Hardware& known) {
        std::vector<std::string> uids;
        for (const auto& member : known.requireAggregate(device).members)
            uids.push_back(member.uid);
        return uids;
    });
}

std::vector<AudioObjectID> SimulatedAudioSystem::aggregateActiveSubDeviceIDs(AudioObjectID device) {
    return perform(Operation::aggregateActiveSubDeviceIDs, device, [&](Hardware& known) {
        std::vector<AudioObjectID> ids;
        for (const auto& member : known.requireAggregate(device).members) {
            if (member.subDevice == 0) continue;
            ids.push_back(faults.plainSubDevices.consume() ? known.objectID(member.uid) : member.subDevice);
        }
        return ids;
    });
}

std::string SimulatedAudioSystem::aggregateMainSubDeviceUID(AudioObjectID device) {
    return perform(Operation::aggregateMainSubDeviceUID, device, [&](Hardware& known) {
        return known.requireAggregate(device).description.mainSubDeviceUID;
    });
}

bool SimulatedAudioSystem::supportsSubDeviceDriftCompensation(AudioObjectID subDevice) noexcept {
    return answer(Operation::supportsSubDeviceDriftCompensation, subDevice, false,
                  [&](Hardware& known) { return known.member(subDevice) != nullptr; });
}

bool SimulatedAudioSystem::subDeviceDriftCompensation(AudioObjectID subDevice) {
    return perform(Operation::subDeviceDriftCompensation, subDevice,
                   [&](Hardware& known) { return known.requireMember(subDevice).driftCompensation; });
}

void SimulatedAudioSystem::setSubDeviceDriftCompensation(AudioObjectID subDevice, bool enabled) {
    perform(Operation::setSubDeviceDriftCompensation, subDevice,
            [=](Hardware& known) { known.setDriftCompensation(subDevice, enabled); });
}

void SimulatedAudioSystem::setOutputDelays(AudioObjectID aggregate,
                                           const std::map<std::string, double>& milliseconds) {
    perform(Operation::setOutputDelays, aggregate, [=, this](Hardware& known) {
        if (!delaysOutputs) refuse(kAudioHardwareUnsupportedOperationError);
        known.playedAggregate(aggregate).delays = milliseconds;
    });
}

void SimulatedAudioSystem::playSweeps(AudioObjectID aggregate, const std::string& rising,
                                      const std::string& falling, double peak) {
    perform(Operation::playSweeps, aggregate, [=, this](Hardware& known) {
        if (!delaysOutputs) refuse(kAudioHardwareUnsupportedOperationError);
        known.playSweeps(aggregate, rising, falling, peak, now());
    });
}

void SimulatedAudioSystem::endSweeps(AudioObjectID aggregate) noexcept {
    answer(Operation::endSweeps, aggregate, false, [&](Hardware& known) {
        auto* found = known.aggregate(aggregate);
        if (found) found->sweeps.reset();
        return found != nullptr;
    });
}

// Volume and mute

bool SimulatedAudioSystem::supportsOutputVolume(AudioObjectID device) noexcept {
    return answer(Operation::supportsOutputVolume, device, &SimulatedDevice::volume).has_value();
}

float SimulatedAudioSystem::outputVolume(AudioObjectID device) {
    return perform(Operation::outputVolume, device, [&](Hardware& known) {
        const auto& volume = known.requireControls(device).volume;
        if (!volume) refuse(kAudioHardwareUnsupportedOperationError);
        return *volume;
    });
}

void SimulatedAudioSystem::setOutputVolume(AudioObjectID device, float volume) {
    perform(Operation::setOutputVolume, device, [=](Hardware& known) { known.setVolume(device, volume); });
}

bool SimulatedAudioSystem::supportsOutputMute(AudioObjectID device) noexcept {
    return answer(Operation::supportsOutputMute, device, &SimulatedDevice::isMuted).has_value();
}

bool SimulatedAudioSystem::outputMute(AudioObjectID device) {
    return perform(Operation::outputMute, device, [&](Hardware& known) {
        const auto& isMuted = known.requireControls(device).isMuted;
        if (!isMuted) refuse(kAudioHardwareUnsupportedOperationError);
        return *isMuted;
    });
}

void SimulatedAudioSystem::setOutputMute(AudioObjectID device, bool isMuted) {
    perform(Operation::setOutputMute, device, [=](Hardware& known) { known.setMute(device, isMuted); });
}

// Listeners

template <class Control>
PropertyListenerTokenRef SimulatedAudioSystem::addListener(Operation operation, AudioObjectID device,
                                                           Control SimulatedDevice::*control,
                                                           AudioObjectPropertySelector selector,
                                                           PropertyListenerHandler handler) {
    return perform(operation, device, [&](Hardware& known) -> PropertyListenerTokenRef {
        const auto* found = known.plugged().find(device);
        if (!found || !(found->device.*control)) return nullptr;
        return propertyListeners().add(
            device, {selector, kAudioObjectPropertyScopeOutput, kAudioObjectPropertyElementMain},
            std::move(handler));
    });
}

PropertyListenerTokenRef SimulatedAudioSystem::addOutputVolumeListener(AudioObjectID device,
                                                                       PropertyListenerHandler handler) {
    return addListener(Operation::addOutputVolumeListener, device, &SimulatedDevice::volume,
                       kAudioHardwareServiceDeviceProperty_VirtualMainVolume, std::move(handler));
}

PropertyListenerTokenRef SimulatedAudioSystem::addOutputMuteListener(AudioObjectID device,
                                                                     PropertyListenerHandler handler) {
    return addListener(Operation::addOutputMuteListener, device, &SimulatedDevice::isMuted,
                       kAudioDevicePropertyMute, std::move(handler));
}

PropertyListenerTokenRef SimulatedAudioSystem::addPropertyListener(AudioObjectID objectID,
                                                                   AudioObjectPropertySelector selector,
                                                                   AudioObjectPropertyScope scope,
                                                                   AudioObjectPropertyElement element,
                                                                   PropertyListenerHandler handler) {
    if (selector == kAudioHardwarePropertyServiceRestarted && !isReachable()) // nobody is asked
        return propertyListeners().add(objectID, {selector, scope, element}, std::move(handler));
    return perform(Operation::addPropertyListener, objectID, [&](Hardware& known) {
        if (objectID != theSystem && known.uid(objectID).empty()) refuse(kAudioHardwareBadObjectError);
        return propertyListeners().add(objectID, {selector, scope, element}, std::move(handler));
    });
}

void SimulatedAudioSystem::removePropertyListener(const PropertyListenerTokenRef& token) noexcept {
    if (!token) return;
    const auto failure = calls.begin(Operation::removePropertyListener, token->objectID);
    const OSStatus status = failure                              ? failure->status
                            : propertyListeners().remove(*token) ? noErr
                                                                 : kAudioHardwareIllegalOperationError;
    if (status == noErr) return;
    LoggingService::audioDevices.error("RemovePropertyListenerBlock failed: {}",
                                       coreAudioDescription(status));
}

} // namespace velto
