// What follows from a change of the world, and looking things up in it.
#include "Simulation/SimulatedAudioSystem.h"

#include <algorithm>
#include <utility>

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

[[noreturn]] void refuse(OSStatus status) { throw AudioManagerError::coreAudioError(status); }

} // namespace

// Looking up

const SimulatedDevice& SimulatedAudioSystem::requireDevice(AudioObjectID id) const {
    const Plugged* found = plugged_.find(id);
    if (!found) refuse(kAudioHardwareBadObjectError);
    return found->device;
}

const SimulatedAudioSystem::Aggregate& SimulatedAudioSystem::requireAggregate(AudioObjectID id) const {
    const Aggregate* found = aggregate(id);
    if (!found) refuse(plugged_.find(id) ? kAudioHardwareUnknownPropertyError : kAudioHardwareBadObjectError);
    return *found;
}

const SimulatedAudioSystem::Member* SimulatedAudioSystem::member(AudioObjectID subDevice) const noexcept {
    return findMember(aggregates_, subDevice);
}

SimulatedAudioSystem::Member& SimulatedAudioSystem::requireMember(AudioObjectID subDevice) {
    auto* found = findMember(aggregates_, subDevice);
    if (!found) refuse(kAudioHardwareUnknownPropertyError);
    return *found;
}

// Rules

const SimulatedAudioSystem::Aggregate* SimulatedAudioSystem::aggregate(AudioObjectID id) const noexcept {
    return find(aggregates_, id, &Aggregate::id);
}

const SimulatedAudioSystem::Aggregate* SimulatedAudioSystem::aggregate(std::string_view uid) const noexcept {
    return find(aggregates_, uid, descriptionUID);
}

std::string SimulatedAudioSystem::uid(AudioObjectID id) const {
    if (const Plugged* found = plugged_.find(id)) return found->device.uid;
    if (const Aggregate* found = aggregate(id)) return found->description.uid;
    const Member* found = member(id);
    return found ? found->uid : std::string();
}

AudioObjectID SimulatedAudioSystem::fallback() const noexcept {
    AudioObjectID first = kAudioObjectUnknown;
    for (const Plugged& plugged : plugged_) {
        if (!canPlay(plugged.id) || plugged.device.isHidden || !plugged.device.isListed) continue;
        if (plugged.device.transport == kAudioDeviceTransportTypeBuiltIn) return plugged.id;
        if (first == kAudioObjectUnknown) first = plugged.id;
    }
    return first;
}

void SimulatedAudioSystem::appear(Plugged device) {
    const std::string uid = device.device.uid;
    plugged_.add(std::move(device));
    notify(kAudioObjectSystemObject, kAudioHardwarePropertyDevices);
    joinAggregates(uid);
    replaceLostOutputs();
}

void SimulatedAudioSystem::replace(Plugged& plugged, SimulatedDevice device) {
    const SimulatedDevice old = std::exchange(plugged.device, std::move(device));
    const SimulatedDevice& now = plugged.device;
    const auto compare = [this, &plugged](bool differs, AudioObjectPropertySelector selector,
                                          AudioObjectPropertyScope scope) {
        if (differs) notify(plugged.id, selector, scope);
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
    if (isListChanged) notify(kAudioObjectSystemObject, kAudioHardwarePropertyDevices);
    replaceLostOutputs();
}

void SimulatedAudioSystem::replaceLostOutputs() {
    if (!canPlay(defaultOutput_)) setDefaultOutput(fallback());
    if (!canPlay(alertOutput_)) setAlertOutput(fallback());
}

bool SimulatedAudioSystem::canPlay(AudioObjectID id) const noexcept {
    if (const Plugged* found = plugged_.find(id))
        return found->device.isAlive && found->device.outputChannels > 0;
    const Aggregate* found = aggregate(id);
    return found && !found->isGoing;
}

void SimulatedAudioSystem::setDefaultOutput(AudioObjectID id) {
    if (std::exchange(defaultOutput_, id) == id) return;
    notify(kAudioObjectSystemObject, kAudioHardwarePropertyDefaultOutputDevice);
}

void SimulatedAudioSystem::setAlertOutput(AudioObjectID id) {
    if (std::exchange(alertOutput_, id) == id) return;
    notify(kAudioObjectSystemObject, kAudioHardwarePropertyDefaultSystemOutputDevice);
}

void SimulatedAudioSystem::joinAggregates(const std::string& uid) {
    for (Aggregate& aggregate : aggregates_) {
        for (Member& member : aggregate.members) {
            if (member.uid != uid || aggregate.isGoing || faults.doesNotRejoin.consume()) continue;
            member.subDevice = nextID_++;
            notify(aggregate.id, kAudioAggregateDevicePropertyActiveSubDeviceList);
        }
    }
}

void SimulatedAudioSystem::leaveAggregates(const std::string& uid) {
    for (Aggregate& aggregate : aggregates_) {
        for (Member& member : aggregate.members) {
            if (member.uid != uid || std::exchange(member.subDevice, 0) == 0) continue;
            notify(aggregate.id, kAudioAggregateDevicePropertyActiveSubDeviceList);
        }
    }
}

void SimulatedAudioSystem::destroyAggregate(AudioObjectID id) {
    const auto delay = faults.lingersAfterDestroy.consume();
    if (!delay) return eraseAggregate(id);
    Aggregate* found = find(aggregates_, id, &Aggregate::id);
    found->isGoing = true;
    found->isAlive = false;
    notify(id, kAudioDevicePropertyDeviceIsAlive);
    replaceLostOutputs();
    after(*delay, [id](SimulatedAudioSystem& world) { world.eraseAggregate(id); });
}

void SimulatedAudioSystem::eraseAggregate(AudioObjectID id) {
    if (std::erase_if(aggregates_, [id](const Aggregate& aggregate) { return aggregate.id == id; }) == 0)
        return;
    notify(id, kAudioDevicePropertyDeviceIsAlive);
    notify(kAudioObjectSystemObject, kAudioHardwarePropertyDevices);
    replaceLostOutputs();
}

void SimulatedAudioSystem::applySampleRate(AudioObjectID id, double rate) {
    const auto set = [this, rate](Plugged* plugged) {
        if (!plugged || !plugged->device.supports(rate)) return;
        SimulatedDevice device = plugged->device;
        device.sampleRate = rate;
        replace(*plugged, std::move(device));
    };
    set(plugged_.find(id));
    Aggregate* aggregate = find(aggregates_, id, &Aggregate::id);
    if (!aggregate) return;
    if (std::exchange(aggregate->sampleRate, rate) != rate) notify(id, kAudioDevicePropertyNominalSampleRate);
    for (const Member& member : aggregate->members) {
        if (member.subDevice != 0) set(plugged_.find(member.uid));
    }
}

void SimulatedAudioSystem::after(Duration interval, std::function<void(SimulatedAudioSystem&)> work) {
    actor_.postAfter(interval, [self = std::weak_ptr(self_), work = std::move(work)] {
        const auto world = self.lock();
        if (!world) return;
        work(**world);
        (*world)->publish();
    });
}

void SimulatedAudioSystem::notify(AudioObjectID id, AudioObjectPropertySelector selector,
                                  AudioObjectPropertyScope scope) {
    unpublished_.push_back({id, {selector, scope, kAudioObjectPropertyElementMain}});
}

void SimulatedAudioSystem::publish() {
    if (isHanging_) return observers_.notify(); // the program hears of it when the service answers
    const auto changes = std::exchange(unpublished_, {});
    if (changes.empty()) return;
    const auto delivery = faults.notifiesSynchronously.consume() ? SimulatedListeners::Delivery::synchronous
                                                                 : SimulatedListeners::Delivery::posted;
    for (const auto& [id, address] : changes)
        listeners_.notify(id, address, delivery);
    observers_.notify();
}

} // namespace velto
