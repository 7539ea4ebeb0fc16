#include "Simulation/SimulatedHardware.h"

#include "VeltoCore/CoreAudio/AudioManagerError.h"
#include "VeltoCore/CoreAudio/ClampedVolume.h"

#include <algorithm>
#include <cmath>

namespace velto {

namespace {

/// Null when there is none.
auto* find(auto& list, const auto& key, auto projection) {
    const auto found = std::ranges::find(list, key, projection);
    return found == list.end() ? nullptr : &*found;
}

constexpr auto descriptionUID = [](const auto& aggregate) -> std::string_view {
    return aggregate.description.uid;
};

/// The member of any aggregate with that sub-device object; null when there is none.
auto* findMember(auto& aggregates, AudioObjectID subDevice) {
    decltype(&aggregates.front().members.front()) result = nullptr;
    if (subDevice == kAudioObjectUnknown) return result;
    for (auto& aggregate : aggregates) {
        for (auto& member : aggregate.members) {
            if (member.subDevice == subDevice) result = &member;
        }
    }
    return result;
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

[[noreturn]] void refuse(OSStatus status) { throw AudioManagerError::coreAudioError(status); }

} // namespace

// Looking up

const SimulatedHardware::Aggregate* SimulatedHardware::aggregate(AudioObjectID id) const noexcept {
    return find(aggregates_, id, &Aggregate::id);
}

const SimulatedHardware::Aggregate* SimulatedHardware::aggregate(std::string_view uid) const noexcept {
    return find(aggregates_, uid, descriptionUID);
}

SimulatedHardware::Aggregate* SimulatedHardware::aggregate(AudioObjectID id) noexcept {
    return find(aggregates_, id, &Aggregate::id);
}

const SimulatedHardware::Member* SimulatedHardware::member(AudioObjectID subDevice) const noexcept {
    return findMember(aggregates_, subDevice);
}

const SimulatedDevice& SimulatedHardware::requireDevice(AudioObjectID id) const {
    const Plugged* found = plugged_.find(id);
    if (!found) refuse(kAudioHardwareBadObjectError);
    return found->device;
}

const SimulatedDevice& SimulatedHardware::requireControls(AudioObjectID id) const {
    if (aggregate(id)) refuse(kAudioHardwareUnsupportedOperationError); // it has none
    return requireDevice(id);
}

const SimulatedHardware::Aggregate& SimulatedHardware::requireAggregate(AudioObjectID id) const {
    const Aggregate* found = aggregate(id);
    if (!found) refuse(plugged_.find(id) ? kAudioHardwareUnknownPropertyError : kAudioHardwareBadObjectError);
    return *found;
}

const SimulatedHardware::Member& SimulatedHardware::requireMember(AudioObjectID subDevice) const {
    const Member* found = member(subDevice);
    if (!found) refuse(kAudioHardwareUnknownPropertyError);
    return *found;
}

SimulatedHardware::Aggregate& SimulatedHardware::playedAggregate(AudioObjectID id) {
    Aggregate* found = aggregate(id);
    if (!found) refuse(kAudioHardwareBadDeviceError);
    return *found;
}

AudioObjectID SimulatedHardware::objectID(std::string_view uid) const noexcept {
    if (const Plugged* found = plugged_.find(uid)) return found->id;
    const Aggregate* found = aggregate(uid);
    return found ? found->id : kAudioObjectUnknown;
}

std::string SimulatedHardware::uid(AudioObjectID id) const {
    if (const Plugged* found = plugged_.find(id)) return found->device.uid;
    if (const Aggregate* found = aggregate(id)) return found->description.uid;
    const Member* found = member(id);
    return found ? found->uid : std::string();
}

AudioObjectID SimulatedHardware::fallback() const noexcept {
    AudioObjectID first = kAudioObjectUnknown;
    for (const Plugged& plugged : plugged_) {
        if (!canPlay(plugged.id) || plugged.device.isHidden || !plugged.device.isListed) continue;
        if (plugged.device.transport == kAudioDeviceTransportTypeBuiltIn) return plugged.id;
        if (first == kAudioObjectUnknown) first = plugged.id;
    }
    return first;
}

bool SimulatedHardware::canPlay(AudioObjectID id) const noexcept {
    if (const Plugged* found = plugged_.find(id))
        return found->device.isAlive && found->device.outputChannels > 0;
    const Aggregate* found = aggregate(id);
    return found && !found->isGoing;
}

std::vector<SampleRateRange> SimulatedHardware::availableSampleRates(AudioObjectID id) const {
    const Aggregate* found = aggregate(id);
    if (!found) return requireDevice(id).sampleRates;
    std::optional<std::vector<SampleRateRange>> rates;
    for (const Member& member : found->members) {
        const Plugged* output = plugged_.find(member.uid);
        if (!output || member.subDevice == 0) continue;
        rates = rates ? shared(*rates, output->device.sampleRates) : output->device.sampleRates;
    }
    return rates.value_or(std::vector<SampleRateRange>());
}

// Devices

void SimulatedHardware::plugIn(Plugged device, SimulatedFaults& faults) {
    const std::string uid = device.device.uid;
    unplugged_.erase(uid);
    plugged_.add(std::move(device));
    note(kAudioObjectSystemObject, kAudioHardwarePropertyDevices);
    joinAggregates(uid, faults);
    replaceLostOutputs();
}

void SimulatedHardware::pullOut(AudioObjectID id) {
    Plugged gone = *plugged_.find(id);
    plugged_.remove(id);
    note(id, kAudioDevicePropertyDeviceIsAlive);
    note(kAudioObjectSystemObject, kAudioHardwarePropertyDevices);
    leaveAggregates(gone.device.uid);
    replaceLostOutputs();
    const std::string uid = gone.device.uid;
    unplugged_.insert_or_assign(uid, std::move(gone));
}

std::optional<SimulatedHardware::Plugged> SimulatedHardware::takeUnplugged(std::string_view uid) {
    const auto found = unplugged_.find(uid);
    if (found == unplugged_.end()) return std::nullopt;
    Plugged result = std::move(found->second);
    unplugged_.erase(found);
    return result;
}

void SimulatedHardware::replace(std::string_view uid, SimulatedDevice device) {
    replace(*plugged_.find(uid), std::move(device));
}

void SimulatedHardware::replace(Plugged& plugged, SimulatedDevice device) {
    const SimulatedDevice old = std::exchange(plugged.device, std::move(device));
    const SimulatedDevice& now = plugged.device;
    const auto compare = [this, &plugged](bool differs, AudioObjectPropertySelector selector,
                                          AudioObjectPropertyScope scope) {
        if (differs) note(plugged.id, selector, scope);
    };
    constexpr auto global = kAudioObjectPropertyScopeGlobal;
    constexpr auto output = kAudioObjectPropertyScopeOutput;
    compare(old.name != now.name, kAudioObjectPropertyName, global);
    compare(old.sampleRate != now.sampleRate, kAudioDevicePropertyNominalSampleRate, global);
    compare(old.sampleRates != now.sampleRates, kAudioDevicePropertyAvailableNominalSampleRates, global);
    compare(old.latencyFrames != now.latencyFrames, kAudioDevicePropertyLatency, output);
    compare(old.safetyOffsetFrames != now.safetyOffsetFrames, kAudioDevicePropertySafetyOffset, output);
    compare(old.outputChannels != now.outputChannels, kAudioDevicePropertyStreamConfiguration, output);
    compare(old.volume != now.volume, kAudioHardwareServiceDeviceProperty_VirtualMainVolume, output);
    compare(old.isMuted != now.isMuted, kAudioDevicePropertyMute, output);
    compare(old.isAlive != now.isAlive, kAudioDevicePropertyDeviceIsAlive, global);
    compare(old.isHidden != now.isHidden, kAudioDevicePropertyIsHidden, global);
    compare(old.isRunning != now.isRunning, kAudioDevicePropertyDeviceIsRunningSomewhere, global);
    const bool isListChanged = old.isHidden != now.isHidden || old.isListed != now.isListed;
    if (isListChanged) note(kAudioObjectSystemObject, kAudioHardwarePropertyDevices);
    replaceLostOutputs();
}

void SimulatedHardware::renumber() {
    const std::string defaultOutput = uid(defaultOutput_);
    const std::string alertOutput = uid(alertOutput_);
    plugged_.renumber(nextID_);
    for (auto& [uid, unplugged] : unplugged_)
        unplugged.id = nextID_++;
    defaultOutput_ = objectID(defaultOutput);
    alertOutput_ = objectID(alertOutput);
}

void SimulatedHardware::setSampleRate(AudioObjectID id, double rate) {
    const auto set = [this, rate](Plugged* plugged) {
        if (!plugged || !plugged->device.supports(rate)) return;
        SimulatedDevice device = plugged->device;
        device.sampleRate = rate;
        replace(*plugged, std::move(device));
    };
    set(plugged_.find(id));
    Aggregate* found = aggregate(id);
    if (!found) return;
    if (std::exchange(found->sampleRate, rate) != rate) note(id, kAudioDevicePropertyNominalSampleRate);
    for (const Member& member : found->members) {
        if (member.subDevice != 0) set(plugged_.find(member.uid));
    }
}

// The system's outputs

void SimulatedHardware::setDefaultOutput(AudioObjectID id) {
    if (std::exchange(defaultOutput_, id) == id) return;
    note(kAudioObjectSystemObject, kAudioHardwarePropertyDefaultOutputDevice);
}

void SimulatedHardware::setAlertOutput(AudioObjectID id) {
    if (std::exchange(alertOutput_, id) == id) return;
    note(kAudioObjectSystemObject, kAudioHardwarePropertyDefaultSystemOutputDevice);
}

void SimulatedHardware::replaceLostOutputs() {
    if (!canPlay(defaultOutput_)) setDefaultOutput(fallback());
    if (!canPlay(alertOutput_)) setAlertOutput(fallback());
}

// Aggregates

SimulatedHardware::Aggregate& SimulatedHardware::makeAggregate(const AggregateDeviceDescription& description,
                                                               SimulatedFaults& faults) {
    if (aggregate(description.uid) || plugged_.find(description.uid))
        refuse(kAudioHardwareIllegalOperationError);
    const bool isInverted = faults.invertsDriftCompensation.consume().has_value();
    Aggregate made{nextID_++, description, {}, 0, true, false};
    for (const auto& [uid, drift] : description.subDevices)
        made.members.push_back(
            {uid, drift != isInverted, plugged_.find(uid) ? nextID_++ : kAudioObjectUnknown});
    if (const Plugged* main = plugged_.find(description.mainSubDeviceUID))
        made.sampleRate = main->device.sampleRate;
    note(kAudioObjectSystemObject, kAudioHardwarePropertyDevices);
    return aggregates_.emplace_back(std::move(made));
}

void SimulatedHardware::letGo(AudioObjectID id) {
    Aggregate& found = *aggregate(id);
    found.isGoing = true;
    found.isAlive = false;
    note(id, kAudioDevicePropertyDeviceIsAlive);
    replaceLostOutputs();
}

void SimulatedHardware::setAlive(AudioObjectID id) {
    Aggregate* found = aggregate(id);
    if (!found || found->isGoing) return;
    found->isAlive = true;
    note(id, kAudioDevicePropertyDeviceIsAlive);
}

void SimulatedHardware::eraseAggregate(AudioObjectID id) {
    if (std::erase_if(aggregates_, [id](const Aggregate& aggregate) { return aggregate.id == id; }) == 0)
        return;
    note(id, kAudioDevicePropertyDeviceIsAlive);
    note(kAudioObjectSystemObject, kAudioHardwarePropertyDevices);
    replaceLostOutputs();
}

void SimulatedHardware::forgetAggregates() {
    aggregates_.clear();
    replaceLostOutputs();
}

void SimulatedHardware::joinAggregates(const std::string& uid, SimulatedFaults& faults) {
    for (Aggregate& aggregate : aggregates_) {
        for (Member& member : aggregate.members) {
            if (member.uid != uid || aggregate.isGoing || faults.doesNotRejoin.consume()) continue;
            member.subDevice = nextID_++;
            note(aggregate.id, kAudioAggregateDevicePropertyActiveSubDeviceList);
        }
    }
}

void SimulatedHardware::leaveAggregates(const std::string& uid) {
    for (Aggregate& aggregate : aggregates_) {
        for (Member& member : aggregate.members) {
            if (member.uid != uid || std::exchange(member.subDevice, 0) == 0) continue;
            note(aggregate.id, kAudioAggregateDevicePropertyActiveSubDeviceList);
        }
    }
}

void SimulatedHardware::setDriftCompensation(AudioObjectID subDevice, bool isEnabled) {
    requireMember(subDevice);
    if (std::exchange(findMember(aggregates_, subDevice)->driftCompensation, isEnabled) == isEnabled) return;
    note(subDevice, kAudioSubDevicePropertyDriftCompensation);
}

void SimulatedHardware::setVolume(AudioObjectID device, float volume) {
    SimulatedDevice changed = requireControls(device);
    if (!changed.volume) refuse(kAudioHardwareUnsupportedOperationError);
    const float clamped = clampedVolume(volume);
    const float step = changed.volumeStep;
    changed.volume = step > 0 ? std::round(clamped / step) * step : clamped;
    replace(changed.uid, changed);
}

void SimulatedHardware::setMute(AudioObjectID device, bool isMuted) {
    SimulatedDevice changed = requireControls(device);
    if (!changed.isMuted) refuse(kAudioHardwareUnsupportedOperationError);
    changed.isMuted = isMuted;
    replace(changed.uid, changed);
}

void SimulatedHardware::playSweeps(AudioObjectID aggregate, const std::string& rising,
                                   const std::string& falling, double peak, ContinuousInstant now) {
    Aggregate& player = playedAggregate(aggregate);
    for (const std::string& output : {rising, falling})
        if (std::ranges::find(player.members, output, &Member::uid) == player.members.end())
            refuse(kAudioHardwareBadDeviceError);
    player.sweeps = {rising, falling, peak, player.sampleRate, now, player.delays};
}

void SimulatedHardware::note(AudioObjectID id, AudioObjectPropertySelector selector,
                             AudioObjectPropertyScope scope) {
    changes_.push_back({id, {selector, scope, kAudioObjectPropertyElementMain}});
}

} // namespace velto
