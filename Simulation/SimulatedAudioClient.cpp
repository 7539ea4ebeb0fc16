// The client's side of the simulated audio system: each operation is noted, may fail, and reads or changes
// the world.
#include "Simulation/SimulatedAudioSystem.h"
#include "VeltoCore/CoreAudio/CoreAudioStatus.h"
#include "VeltoCore/Services/LoggingService.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace velto {

namespace {

constexpr AudioObjectID theSystem = kAudioObjectSystemObject;

/// Fails as a client does: logs, then throws.
[[noreturn]] void fail(CoreAudioOperation operation, OSStatus status) {
    LoggingService::audioDevices.error("{} failed: {}", publicText(name(operation)),
                                       coreAudioDescription(status));
    throw AudioManagerError::coreAudioError(status);
}

[[noreturn]] void fail(CoreAudioOperation operation, const SimulatedCalls::Failure& failure) {
    if (!failure.foreignError.empty()) throw std::runtime_error(failure.foreignError);
    fail(operation, failure.status);
}

[[noreturn]] void refuse(OSStatus status) { throw AudioManagerError::coreAudioError(status); }

/// Whether the operation changes something, and so needs an answer even while the service hangs.
bool isChange(CoreAudioOperation operation) noexcept {
    constexpr std::array changes{CoreAudioOperation::setNominalSampleRate,
                                 CoreAudioOperation::setDefaultOutputDevice,
                                 CoreAudioOperation::setDefaultSystemOutputDevice,
                                 CoreAudioOperation::createAggregateDevice,
                                 CoreAudioOperation::destroyAggregateDevice,
                                 CoreAudioOperation::setSubDeviceDriftCompensation,
                                 CoreAudioOperation::setOutputVolume,
                                 CoreAudioOperation::setOutputMute};
    return std::ranges::find(changes, operation) != changes.end();
}

/// For what nobody waits for any more.
void obey(const auto& body) {
    try {
        body();
    } catch (const AudioManagerError&) { // what was to be changed has gone
    }
}

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

void SimulatedAudioSystem::swapWithLastHeard() noexcept {
    if (!lastHeard_) return;
    std::swap(plugged_, lastHeard_->plugged);
    std::swap(aggregates_, lastHeard_->aggregates);
    std::swap(defaultOutput_, lastHeard_->defaultOutput);
    std::swap(alertOutput_, lastHeard_->alertOutput);
}

/// What the body reads, in the world as the program knows it.
template <class Body>
auto SimulatedAudioSystem::asLastHeard(Body body) {
    struct Swapped {
        explicit Swapped(SimulatedAudioSystem& world) : world(world) { world.swapWithLastHeard(); }
        ~Swapped() { world.swapWithLastHeard(); }
        SimulatedAudioSystem& world;
    };
    const Swapped swapped(*this);
    return body();
}

template <class Body>
auto SimulatedAudioSystem::perform(Operation operation, AudioObjectID object, Body body) {
    const auto failure = calls.begin(operation, object);
    const auto noAnswer = [this, operation] {
        isKnownToHang_ = isHanging_;
        fail(operation, kAudioHardwareNotRunningError);
    };
    if (!isReachable()) noAnswer();
    if (isHanging_ && isChange(operation)) {
        if (faults.obeysLate.consume()) lateWork_.emplace_back([body] { obey(body); });
        noAnswer();
    }
    if (failure && !failure->isAfterEffect) fail(operation, *failure);
    const auto failAfterwards = [&] {
        publish();
        if (failure) fail(operation, *failure);
    };
    try {
        if constexpr (std::is_void_v<std::invoke_result_t<Body>>) {
            asLastHeard(body);
            failAfterwards();
        } else {
            auto value = asLastHeard(body);
            failAfterwards();
            return value;
        }
    } catch (const AudioManagerError& error) {
        if (failure || !error.status()) throw;
        fail(operation, *error.status()); // refused by the world's rules: logged like any failed call
    }
}

template <class Value, class Body>
Value SimulatedAudioSystem::answer(Operation operation, AudioObjectID object, Value otherwise,
                                   Body body) noexcept {
    const auto failure = calls.begin(operation, object);
    return failure || !isReachable() ? std::move(otherwise) : static_cast<Value>(asLastHeard(body));
}

template <class Value>
Value SimulatedAudioSystem::answer(Operation operation, AudioObjectID device,
                                   Value SimulatedDevice::*field) noexcept {
    return answer(operation, device, Value(), [&] {
        const Plugged* found = plugged_.find(device);
        return found ? found->device.*field : Value();
    });
}

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

// Volume and mute

const SimulatedDevice& SimulatedAudioSystem::requireControls(AudioObjectID id) const {
    if (aggregate(id)) refuse(kAudioHardwareUnsupportedOperationError); // it has none
    return requireDevice(id);
}

bool SimulatedAudioSystem::supportsOutputVolume(AudioObjectID device) noexcept {
    return answer(Operation::supportsOutputVolume, device, false, [&] {
        const Plugged* found = plugged_.find(device);
        return found && found->device.volume.has_value();
    });
}

float SimulatedAudioSystem::outputVolume(AudioObjectID device) {
    return perform(Operation::outputVolume, device, [&] {
        const auto& volume = requireControls(device).volume;
        if (!volume) refuse(kAudioHardwareUnsupportedOperationError);
        return *volume;
    });
}

void SimulatedAudioSystem::setOutputVolume(AudioObjectID device, float volume) {
    perform(Operation::setOutputVolume, device, [=, this] {
        SimulatedDevice changed = requireControls(device);
        if (!changed.volume) refuse(kAudioHardwareUnsupportedOperationError);
        const float clamped = volume > 0 ? std::min(volume, 1.0F) : 0.0F;
        const float step = changed.volumeStep;
        changed.volume = step > 0 ? std::round(clamped / step) * step : clamped;
        replace(requirePlugged(changed.uid), changed);
    });
}

bool SimulatedAudioSystem::supportsOutputMute(AudioObjectID device) noexcept {
    return answer(Operation::supportsOutputMute, device, false, [&] {
        const Plugged* found = plugged_.find(device);
        return found && found->device.isMuted.has_value();
    });
}

bool SimulatedAudioSystem::outputMute(AudioObjectID device) {
    return perform(Operation::outputMute, device, [&] {
        const auto& isMuted = requireControls(device).isMuted;
        if (!isMuted) refuse(kAudioHardwareUnsupportedOperationError);
        return *isMuted;
    });
}

void SimulatedAudioSystem::setOutputMute(AudioObjectID device, bool isMuted) {
    perform(Operation::setOutputMute, device, [=, this] {
        SimulatedDevice changed = requireControls(device);
        if (!changed.isMuted) refuse(kAudioHardwareUnsupportedOperationError);
        changed.isMuted = isMuted;
        replace(requirePlugged(changed.uid), changed);
    });
}

// Listeners

PropertyListenerTokenRef SimulatedAudioSystem::addOutputVolumeListener(AudioObjectID device,
                                                                       PropertyListenerHandler handler) {
    return perform(Operation::addOutputVolumeListener, device, [&]() -> PropertyListenerTokenRef {
        const Plugged* found = plugged_.find(device);
        if (!found || !found->device.volume) return nullptr;
        return listeners_.add(device,
                              {kAudioHardwareServiceDeviceProperty_VirtualMainVolume,
                               kAudioObjectPropertyScopeOutput, kAudioObjectPropertyElementMain},
                              std::move(handler));
    });
}

PropertyListenerTokenRef SimulatedAudioSystem::addOutputMuteListener(AudioObjectID device,
                                                                     PropertyListenerHandler handler) {
    return perform(Operation::addOutputMuteListener, device, [&]() -> PropertyListenerTokenRef {
        const Plugged* found = plugged_.find(device);
        if (!found || !found->device.isMuted) return nullptr;
        return listeners_.add(
            device,
            {kAudioDevicePropertyMute, kAudioObjectPropertyScopeOutput, kAudioObjectPropertyElementMain},
            std::move(handler));
    });
}

PropertyListenerTokenRef SimulatedAudioSystem::addPropertyListener(AudioObjectID objectID,
                                                                   AudioObjectPropertySelector selector,
                                                                   AudioObjectPropertyScope scope,
                                                                   AudioObjectPropertyElement element,
                                                                   PropertyListenerHandler handler) {
    if (selector == kAudioHardwarePropertyServiceRestarted && !isReachable())
        return listeners_.add(objectID, {selector, scope, element}, std::move(handler)); // nobody is asked
    return perform(Operation::addPropertyListener, objectID, [&] {
        if (objectID != theSystem && uid(objectID).empty()) refuse(kAudioHardwareBadObjectError);
        return listeners_.add(objectID, {selector, scope, element}, std::move(handler));
    });
}

void SimulatedAudioSystem::removePropertyListener(const PropertyListenerTokenRef& token) noexcept {
    if (!token) return;
    const auto failure = calls.begin(Operation::removePropertyListener, token->objectID);
    const OSStatus status = failure                     ? failure->status
                            : listeners_.remove(*token) ? noErr
                                                        : kAudioHardwareIllegalOperationError;
    if (status == noErr) return;
    LoggingService::audioDevices.error("RemovePropertyListenerBlock failed: {}",
                                       coreAudioDescription(status));
}

} // namespace velto
