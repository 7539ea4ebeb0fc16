// The rules of the world and the verbs; the client's side is in SimulatedAudioClient.cpp.
#include "Simulation/SimulatedAudioSystem.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace velto {

namespace {

[[noreturn]] void refuse(const std::string& what) {
    throw std::logic_error("Simulated audio system: " + what);
}

/// Null when there is none.
auto* find(auto& list, const auto& key, auto projection) {
    const auto found = std::ranges::find(list, key, projection);
    return found == list.end() ? nullptr : &*found;
}

constexpr auto uidOf = [](const auto& plugged) -> std::string_view { return plugged.device.uid; };
constexpr auto descriptionUID = [](const auto& aggregate) -> std::string_view {
    return aggregate.description.uid;
};

} // namespace

SimulatedAudioSystem::SimulatedAudioSystem(MainActor& actor)
    : actor_(actor), listeners_(actor), self_(std::make_shared<SimulatedAudioSystem*>(this)) {}

SimulatedAudioSystem::~SimulatedAudioSystem() = default;

// Verbs

AudioObjectID SimulatedAudioSystem::plug(SimulatedDevice device) {
    if (device.uid.empty() || plugged(device.uid) || aggregate(device.uid))
        refuse("\"" + device.uid + "\" can't be plugged in: no UID, or one in use");
    const AudioObjectID id = nextID_++;
    unplugged_.erase(device.uid);
    appear({id, std::move(device)});
    publish();
    return id;
}

void SimulatedAudioSystem::unplug(std::string_view uid) {
    Plugged gone = requirePlugged(uid);
    std::erase_if(plugged_, [&gone](const Plugged& plugged) { return plugged.id == gone.id; });
    notify(gone.id, kAudioDevicePropertyDeviceIsAlive);
    notify(kAudioObjectSystemObject, kAudioHardwarePropertyDevices);
    leaveAggregates(gone.device.uid);
    replaceLostOutputs();
    unplugged_.insert_or_assign(gone.device.uid, std::move(gone));
    publish();
}

void SimulatedAudioSystem::replug(std::string_view uid) {
    const bool hasAnotherID = faults.returnsWithAnotherID.consume().has_value();
    bringBack(uid, hasAnotherID ? nextID_++ : kAudioObjectUnknown);
}

void SimulatedAudioSystem::replugWithAnotherID(std::string_view uid) { bringBack(uid, nextID_++); }

void SimulatedAudioSystem::bringBack(std::string_view uid, AudioObjectID newID) {
    const auto found = unplugged_.find(uid);
    if (found == unplugged_.end()) refuse("\"" + std::string(uid) + "\" was not unplugged");
    Plugged back = std::move(found->second);
    unplugged_.erase(found);
    if (newID != kAudioObjectUnknown) back.id = newID;
    appear(std::move(back));
    publish();
}

void SimulatedAudioSystem::change(std::string_view uid, const std::function<void(SimulatedDevice&)>& change) {
    Plugged& plugged = requirePlugged(uid);
    SimulatedDevice device = plugged.device;
    change(device);
    if (device.uid != plugged.device.uid) refuse("a device keeps its UID");
    replace(plugged, std::move(device));
    publish();
}

void SimulatedAudioSystem::rename(std::string_view uid, std::string name) {
    change(uid, [&name](SimulatedDevice& device) { device.name = std::move(name); });
}

void SimulatedAudioSystem::setSampleRate(std::string_view uid, double rate) {
    change(uid, [rate](SimulatedDevice& device) { device.sampleRate = rate; });
}

void SimulatedAudioSystem::setSampleRates(std::string_view uid, std::vector<SampleRateRange> rates) {
    change(uid, [&rates](SimulatedDevice& device) { device.sampleRates = std::move(rates); });
}

void SimulatedAudioSystem::setVolume(std::string_view uid, float volume) {
    change(uid, [volume](SimulatedDevice& device) { device.volume = volume; });
}

void SimulatedAudioSystem::setMuted(std::string_view uid, bool isMuted) {
    change(uid, [isMuted](SimulatedDevice& device) { device.isMuted = isMuted; });
}

void SimulatedAudioSystem::kill(std::string_view uid) {
    change(uid, [](SimulatedDevice& device) { device.isAlive = false; });
}

void SimulatedAudioSystem::pickDefault(std::string_view uid) {
    if (!canPlay(objectID(uid))) refuse("\"" + std::string(uid) + "\" can't be picked as an output");
    setDefaultOutput(objectID(uid));
    publish();
}

void SimulatedAudioSystem::pickAlertOutput(std::string_view uid) {
    if (!canPlay(objectID(uid))) refuse("\"" + std::string(uid) + "\" can't be picked as an output");
    setAlertOutput(objectID(uid));
    publish();
}

AudioObjectID SimulatedAudioSystem::makeAggregate(const AggregateDeviceDescription& description) {
    if (aggregate(description.uid) || plugged(description.uid))
        throw AudioManagerError::coreAudioError(kAudioHardwareIllegalOperationError);
    const bool isInverted = faults.invertsDriftCompensation.consume().has_value();
    Aggregate made{nextID_++, description, {}, 0, true, false};
    for (const auto& [uid, drift] : description.subDevices)
        made.members.push_back({uid, drift != isInverted, plugged(uid) ? nextID_++ : kAudioObjectUnknown});
    if (const Plugged* main = plugged(description.mainSubDeviceUID))
        made.sampleRate = main->device.sampleRate;
    const AudioObjectID id = made.id;
    if (faults.neverAlive.consume()) {
        made.isAlive = false;
    } else if (const auto delay = faults.aliveAfter.consume()) {
        made.isAlive = false;
        after(*delay, [id](SimulatedAudioSystem& world) {
            Aggregate* found = find(world.aggregates_, id, &Aggregate::id);
            if (!found || found->isGoing) return;
            found->isAlive = true;
            world.notify(id, kAudioDevicePropertyDeviceIsAlive);
        });
    }
    aggregates_.push_back(std::move(made));
    notify(kAudioObjectSystemObject, kAudioHardwarePropertyDevices);
    publish();
    return id;
}

void SimulatedAudioSystem::removeAggregate(std::string_view uid) {
    const Aggregate* found = aggregate(uid);
    if (!found) refuse("there is no aggregate \"" + std::string(uid) + "\"");
    eraseAggregate(found->id);
    publish();
}

void SimulatedAudioSystem::stopAudioService() {
    isServiceRunning_ = false;
    listeners_.forgetAllButServiceRestarted();
    aggregates_.clear();
    replaceLostOutputs();
    publish();
}

void SimulatedAudioSystem::startAudioService() {
    const std::string defaultOutput = defaultOutputUID();
    const std::string alertOutput = alertOutputUID();
    for (Plugged& plugged : plugged_)
        plugged.id = nextID_++;
    for (auto& [uid, unplugged] : unplugged_)
        unplugged.id = nextID_++;
    defaultOutput_ = objectID(defaultOutput);
    alertOutput_ = objectID(alertOutput);
    isServiceRunning_ = true;
    notify(kAudioObjectSystemObject, kAudioHardwarePropertyServiceRestarted);
    publish();
}

void SimulatedAudioSystem::restartAudioService() {
    stopAudioService();
    startAudioService();
}

void SimulatedAudioSystem::programDies() { listeners_.forgetAll(); }

// Questions

bool SimulatedAudioSystem::isPlugged(std::string_view uid) const noexcept { return plugged(uid); }

const SimulatedDevice& SimulatedAudioSystem::device(std::string_view uid) const {
    const Plugged* found = plugged(uid);
    if (!found) refuse("\"" + std::string(uid) + "\" is not plugged in");
    return found->device;
}

AudioObjectID SimulatedAudioSystem::objectID(std::string_view uid) const noexcept {
    if (const Plugged* found = plugged(uid)) return found->id;
    const Aggregate* found = aggregate(uid);
    return found ? found->id : kAudioObjectUnknown;
}

std::vector<std::string> SimulatedAudioSystem::pluggedUIDs() const {
    std::vector<std::string> uids;
    for (const Plugged& plugged : plugged_)
        uids.push_back(plugged.device.uid);
    return uids;
}

std::vector<std::string> SimulatedAudioSystem::unpluggedUIDs() const {
    std::vector<std::string> uids;
    for (const auto& entry : unplugged_)
        uids.push_back(entry.first);
    return uids;
}

std::vector<SimulatedAggregate> SimulatedAudioSystem::aggregates() const {
    std::vector<SimulatedAggregate> result;
    for (const Aggregate& aggregate : aggregates_) {
        if (aggregate.isGoing) continue;
        SimulatedAggregate& seen = result.emplace_back();
        seen = {aggregate.id, aggregate.description, {}, aggregate.sampleRate, aggregate.isAlive};
        for (const Member& member : aggregate.members)
            seen.members.push_back({member.uid, member.driftCompensation, member.subDevice != 0});
    }
    return result;
}

std::vector<std::string> SimulatedAudioSystem::unconsumedFaults() const {
    std::vector<std::string> result = faults.unconsumed();
    for (std::string& text : calls.unconsumed())
        result.push_back(std::move(text));
    return result;
}

// Rules

const SimulatedAudioSystem::Plugged* SimulatedAudioSystem::plugged(std::string_view uid) const noexcept {
    return find(plugged_, uid, uidOf);
}

const SimulatedAudioSystem::Plugged* SimulatedAudioSystem::plugged(AudioObjectID id) const noexcept {
    return find(plugged_, id, &Plugged::id);
}

SimulatedAudioSystem::Plugged& SimulatedAudioSystem::requirePlugged(std::string_view uid) {
    Plugged* found = find(plugged_, uid, uidOf);
    if (!found) refuse("\"" + std::string(uid) + "\" is not plugged in");
    return *found;
}

const SimulatedAudioSystem::Aggregate* SimulatedAudioSystem::aggregate(AudioObjectID id) const noexcept {
    return find(aggregates_, id, &Aggregate::id);
}

const SimulatedAudioSystem::Aggregate* SimulatedAudioSystem::aggregate(std::string_view uid) const noexcept {
    return find(aggregates_, uid, descriptionUID);
}

std::string SimulatedAudioSystem::uid(AudioObjectID id) const {
    if (const Plugged* found = plugged(id)) return found->device.uid;
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
    plugged_.push_back(std::move(device));
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
    if (const Plugged* found = plugged(id)) return found->device.isAlive && found->device.outputChannels > 0;
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
    set(find(plugged_, id, &Plugged::id));
    Aggregate* aggregate = find(aggregates_, id, &Aggregate::id);
    if (!aggregate) return;
    if (std::exchange(aggregate->sampleRate, rate) != rate) notify(id, kAudioDevicePropertyNominalSampleRate);
    for (const Member& member : aggregate->members) {
        if (member.subDevice != 0) set(find(plugged_, std::string_view(member.uid), uidOf));
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
    const auto changes = std::exchange(unpublished_, {});
    if (changes.empty()) return;
    const auto delivery = faults.notifiesSynchronously.consume() ? SimulatedListeners::Delivery::synchronous
                                                                 : SimulatedListeners::Delivery::posted;
    for (const auto& [id, address] : changes)
        listeners_.notify(id, address, delivery);
    observers_.notify();
}

} // namespace velto
