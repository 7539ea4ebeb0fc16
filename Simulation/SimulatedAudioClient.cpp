// The client's side of the simulated audio system: devices, rates, outputs and aggregates.
#include "Simulation/SimulatedAudioCalls.h"

namespace velto {

using simulated::refuse;
using simulated::theSystem;

namespace {

/// The rates that all the outputs of an aggregate can run at.
std::vector<SampleRateRange> shared(const std::vector<SampleRateRange>& first,
                                    const std::vector<SampleRateRange>& second) {
    std::vector<SampleRateRange> result;
    for (const SampleRateRange& a : first) {
        for (const SampleRateRange& b : second) {
            const SampleRateRange both{std::max(a.lowerBound, b.lowerBound),
                                       std::min(a.upperBound, b.upperBound)};
            if (both.lowerBound <= both.upperBound) result.push_back(both);
        }
    }
    return result;
}

} // namespace

// Devices

std::vector<AudioObjectID> SimulatedAudioSystem::allDeviceIDs() {
    return perform(Operation::allDeviceIDs, theSystem, [this] {
        std::vector<AudioObjectID> ids;
        for (const Plugged& plugged : plugged_) {
            if (plugged.device.isListed) ids.push_back(plugged.id);
        }
        for (const Aggregate& aggregate : aggregates_)
            ids.push_back(aggregate.id);
        return ids;
    });
}

std::optional<AudioObjectID> SimulatedAudioSystem::deviceID(std::string_view forUID) {
    return perform(Operation::deviceIDForUID, theSystem, [&] {
        const AudioObjectID id = objectID(forUID);
        return id == kAudioObjectUnknown ? std::nullopt : std::optional(id);
    });
}

std::string SimulatedAudioSystem::deviceUID(AudioObjectID device) {
    return perform(Operation::deviceUID, device, [&] {
        std::string result = uid(device);
        if (result.empty()) refuse(kAudioHardwareBadObjectError);
        return result;
    });
}

std::string SimulatedAudioSystem::deviceName(AudioObjectID device) {
    return perform(Operation::deviceName, device, [&] {
        if (const Aggregate* found = aggregate(device)) return found->description.name;
        if (const Member* found = member(device)) return this->device(found->uid).name;
        return requireDevice(device).name;
    });
}

std::uint32_t SimulatedAudioSystem::transportType(AudioObjectID device) {
    return perform(Operation::transportType, device, [&]() -> std::uint32_t {
        if (aggregate(device)) return kAudioDeviceTransportTypeAggregate;
        return requireDevice(device).transport;
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
    return perform(Operation::outputChannelCount, device, [&]() -> std::int64_t {
        return aggregate(device) ? 2 : requireDevice(device).outputChannels;
    });
}

bool SimulatedAudioSystem::isAlive(AudioObjectID device) noexcept {
    return answer(Operation::isAlive, device, false, [&] {
        if (const Aggregate* found = aggregate(device)) return found->isAlive;
        const Plugged* found = plugged_.find(device);
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
    return perform(Operation::nominalSampleRate, device, [&] {
        if (const Aggregate* found = aggregate(device)) return found->sampleRate;
        return requireDevice(device).sampleRate;
    });
}

std::vector<SampleRateRange> SimulatedAudioSystem::availableSampleRates(AudioObjectID device) {
    return perform(Operation::availableSampleRates, device, [&] {
        const Aggregate* found = aggregate(device);
        if (!found) return requireDevice(device).sampleRates;
        std::optional<std::vector<SampleRateRange>> rates;
        for (const Member& member : found->members) {
            const Plugged* output = plugged_.find(member.uid);
            if (!output || member.subDevice == 0) continue;
            rates = rates ? shared(*rates, output->device.sampleRates) : output->device.sampleRates;
        }
        return rates.value_or(std::vector<SampleRateRange>());
    });
}

void SimulatedAudioSystem::setNominalSampleRate(AudioObjectID device, double sampleRate) {
    perform(Operation::setNominalSampleRate, device, [=, this] {
        if (!aggregate(device) && !requireDevice(device).supports(sampleRate))
            refuse(kAudioDeviceUnsupportedFormatError);
        const auto delay = faults.slowRateChange.consume();
        if (!delay) return applySampleRate(device, sampleRate);
        after(*delay, [device, sampleRate](SimulatedAudioSystem& world) {
            world.applySampleRate(device, sampleRate);
        });
    });
}

// The system's outputs

AudioObjectID SimulatedAudioSystem::defaultOutputDeviceID() {
    return perform(Operation::defaultOutputDeviceID, theSystem, [this] { return defaultOutput_; });
}

void SimulatedAudioSystem::setDefaultOutputDevice(AudioObjectID device) {
    perform(Operation::setDefaultOutputDevice, device, [=, this] {
        if (!canPlay(device)) refuse(kAudioHardwareBadDeviceError);
        const auto delay = faults.slowOutputChange.consume();
        if (!delay) return setDefaultOutput(device);
        after(*delay, [device](SimulatedAudioSystem& world) {
            if (world.canPlay(device)) world.setDefaultOutput(device);
        });
    });
}

AudioObjectID SimulatedAudioSystem::defaultSystemOutputDeviceID() {
    return perform(Operation::defaultSystemOutputDeviceID, theSystem, [this] { return alertOutput_; });
}

void SimulatedAudioSystem::setDefaultSystemOutputDevice(AudioObjectID device) {
    perform(Operation::setDefaultSystemOutputDevice, device, [=, this] {
        if (!canPlay(device)) refuse(kAudioHardwareBadDeviceError);
        const auto delay = faults.slowOutputChange.consume();
        if (!delay) return setAlertOutput(device);
        after(*delay, [device](SimulatedAudioSystem& world) {
            if (world.canPlay(device)) world.setAlertOutput(device);
        });
    });
}

// Aggregates

AudioObjectID SimulatedAudioSystem::createAggregateDevice(const AggregateDeviceDescription& description) {
    return perform(Operation::createAggregateDevice, theSystem, [this, description] {
        if (faults.createsInvalidDevice.consume())
            throw AudioManagerError::aggregateCreationFailed("Core Audio returned an invalid device.");
        return makeAggregate(description);
    });
}

void SimulatedAudioSystem::destroyAggregateDevice(AudioObjectID device) {
    perform(Operation::destroyAggregateDevice, device, [=, this] {
        if (requireAggregate(device).isGoing) refuse(kAudioHardwareBadObjectError);
        destroyAggregate(device);
    });
}

CompositionDictionary SimulatedAudioSystem::aggregateComposition(AudioObjectID device) {
    return perform(Operation::aggregateComposition, device, [&] {
        const Aggregate& found = requireAggregate(device);
        AggregateDeviceDescription description = found.description;
        description.subDevices.clear();
        for (const Member& member : found.members)
            description.subDevices.push_back({member.uid, member.driftCompensation});
        CompositionDictionary composition = description.dictionaryRepresentation();
        if (faults.hidesSubDevices.consume()) composition.erase(std::string(CompositionKey::subDevices));
        return composition;
    });
}

std::vector<std::string> SimulatedAudioSystem::aggregateFullSubDeviceUIDs(AudioObjectID device) {
    return perform(Operation::aggregateFullSubDeviceUIDs, device, [&] {
        std::vector<std::string> uids;
        for (const Member& member : requireAggregate(device).members)
            uids.push_back(member.uid);
        return uids;
    });
}

std::vector<AudioObjectID> SimulatedAudioSystem::aggregateActiveSubDeviceIDs(AudioObjectID device) {
    return perform(Operation::aggregateActiveSubDeviceIDs, device, [&] {
        std::vector<AudioObjectID> ids;
        for (const Member& member : requireAggregate(device).members) {
            if (member.subDevice == 0) continue;
            ids.push_back(faults.plainSubDevices.consume() ? objectID(member.uid) : member.subDevice);
        }
        return ids;
    });
}

std::string SimulatedAudioSystem::aggregateMainSubDeviceUID(AudioObjectID device) {
    return perform(Operation::aggregateMainSubDeviceUID, device,
                   [&] { return requireAggregate(device).description.mainSubDeviceUID; });
}

bool SimulatedAudioSystem::supportsSubDeviceDriftCompensation(AudioObjectID subDevice) noexcept {
    return answer(Operation::supportsSubDeviceDriftCompensation, subDevice, false,
                  [&] { return member(subDevice) != nullptr; });
}

bool SimulatedAudioSystem::subDeviceDriftCompensation(AudioObjectID subDevice) {
    return perform(Operation::subDeviceDriftCompensation, subDevice,
                   [&] { return requireMember(subDevice).driftCompensation; });
}

void SimulatedAudioSystem::setSubDeviceDriftCompensation(AudioObjectID subDevice, bool enabled) {
    perform(Operation::setSubDeviceDriftCompensation, subDevice, [=, this] {
        Member& member = requireMember(subDevice);
        if (std::exchange(member.driftCompensation, enabled) == enabled) return;
        notify(subDevice, kAudioSubDevicePropertyDriftCompensation);
    });
}

void SimulatedAudioSystem::setOutputDelays(AudioObjectID aggregate,
                                           const std::map<std::string, double>& milliseconds) {
    perform(Operation::setOutputDelays, aggregate, [=, this] {
        if (!delaysOutputs) refuse(kAudioHardwareUnsupportedOperationError);
        const auto found = std::ranges::find(aggregates_, aggregate, &Aggregate::id);
        if (found == aggregates_.end()) refuse(kAudioHardwareBadDeviceError);
        found->delays = milliseconds;
    });
}

} // namespace velto
