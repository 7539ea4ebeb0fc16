// Verbs and questions. What follows from a change is in SimulatedAudioRules.cpp, the client's side in
// SimulatedAudioClient.cpp.
#include "Simulation/SimulatedAudioSystem.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace velto {

namespace {

[[noreturn]] void refuse(const std::string& what) {
    throw std::logic_error("Simulated audio system: " + what);
}

} // namespace

SimulatedAudioSystem::SimulatedAudioSystem(MainActor& actor)
    : actor_(actor), listeners_(actor), self_(std::make_shared<SimulatedAudioSystem*>(this)) {}

SimulatedAudioSystem::~SimulatedAudioSystem() = default;

// Verbs

SimulatedAudioSystem::Plugged& SimulatedAudioSystem::requirePlugged(std::string_view uid) {
    Plugged* found = plugged_.find(uid);
    if (!found) refuse("\"" + std::string(uid) + "\" is not plugged in");
    return *found;
}

AudioObjectID SimulatedAudioSystem::plug(SimulatedDevice device) {
    if (device.uid.empty() || plugged_.find(device.uid) || aggregate(device.uid))
        refuse("\"" + device.uid + "\" can't be plugged in: no UID, or one in use");
    const AudioObjectID id = nextID_++;
    unplugged_.erase(device.uid);
    appear({id, std::move(device)});
    publish();
    return id;
}

void SimulatedAudioSystem::unplug(std::string_view uid) {
    Plugged gone = requirePlugged(uid);
    plugged_.remove(gone.id);
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
    if (aggregate(description.uid) || plugged_.find(description.uid))
        throw AudioManagerError::coreAudioError(kAudioHardwareIllegalOperationError);
    const bool isInverted = faults.invertsDriftCompensation.consume().has_value();
    Aggregate made{nextID_++, description, {}, 0, true, false};
    for (const auto& [uid, drift] : description.subDevices)
        made.members.push_back(
            {uid, drift != isInverted, plugged_.find(uid) ? nextID_++ : kAudioObjectUnknown});
    if (const Plugged* main = plugged_.find(description.mainSubDeviceUID))
        made.sampleRate = main->device.sampleRate;
    const AudioObjectID id = made.id;
    if (faults.neverAlive.consume()) {
        made.isAlive = false;
    } else if (const auto delay = faults.aliveAfter.consume()) {
        made.isAlive = false;
        after(*delay, [id](SimulatedAudioSystem& world) {
            const auto found = std::ranges::find(world.aggregates_, id, &Aggregate::id);
            if (found == world.aggregates_.end() || found->isGoing) return;
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

void SimulatedAudioSystem::loseDelays(std::string_view aggregateUID) {
    const auto found = std::ranges::find_if(
        aggregates_, [&](const Aggregate& aggregate) { return aggregate.description.uid == aggregateUID; });
    if (found == aggregates_.end()) refuse("there is no aggregate \"" + std::string(aggregateUID) + "\"");
    found->delays.clear();
    notify(found->id, kVeltoAggregatePropertyOutputDelaysLost);
    publish();
}

void SimulatedAudioSystem::stopAudioService() {
    isHanging_ = isKnownToHang_ = false;
    lastHeard_.reset();
    lateWork_.clear();
    isServiceRunning_ = false;
    listeners_.forgetAllButServiceRestarted();
    aggregates_.clear();
    replaceLostOutputs();
    publish();
}

void SimulatedAudioSystem::startAudioService() {
    if (isServiceRunning_) return;
    const std::string defaultOutput = defaultOutputUID();
    const std::string alertOutput = alertOutputUID();
    plugged_.renumber(nextID_);
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

void SimulatedAudioSystem::hangAudioService() {
    if (!isServiceRunning_ || std::exchange(isHanging_, true)) return;
    lastHeard_ = LastHeard{plugged_, aggregates_, defaultOutput_, alertOutput_};
}

void SimulatedAudioSystem::resumeAudioService() {
    if (!std::exchange(isHanging_, false)) return;
    isKnownToHang_ = false;
    lastHeard_.reset();
    for (const auto& work : std::exchange(lateWork_, {}))
        work();
    notify(kAudioObjectSystemObject, kAudioHardwarePropertyServiceRestarted);
    publish();
}

void SimulatedAudioSystem::programDies() {
    listeners_.forgetAll();
    lastHeard_.reset();
}

// Questions

bool SimulatedAudioSystem::isPlugged(std::string_view uid) const noexcept { return plugged_.find(uid); }

const SimulatedDevice& SimulatedAudioSystem::device(std::string_view uid) const {
    const Plugged* found = plugged_.find(uid);
    if (!found) refuse("\"" + std::string(uid) + "\" is not plugged in");
    return found->device;
}

AudioObjectID SimulatedAudioSystem::objectID(std::string_view uid) const noexcept {
    if (const Plugged* found = plugged_.find(uid)) return found->id;
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
        seen = {aggregate.id,         aggregate.description, {},
                aggregate.sampleRate, aggregate.isAlive,     aggregate.delays};
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

} // namespace velto
