#include "Simulation/SimulatedWorld.h"

#include <chrono>
#include <stdexcept>
#include <utility>

namespace velto {

namespace {

/// What is silenced is heard again by itself then.
constexpr Duration longestSweeps = std::chrono::seconds(5);

[[noreturn]] void refuse(const std::string& what) {
    throw std::logic_error("Simulated audio system: " + what);
}

} // namespace

// Devices

void SimulatedWorld::requirePlugged(std::string_view uid) const {
    if (!isPlugged(uid)) refuse("\"" + std::string(uid) + "\" is not plugged in");
}

AudioObjectID SimulatedWorld::plug(SimulatedDevice device) {
    if (device.uid.empty() || objectID(device.uid) != kAudioObjectUnknown)
        refuse("\"" + device.uid + "\" can't be plugged in: no UID, or one in use");
    const AudioObjectID id = hardware_.newID();
    hardware_.plugIn({id, std::move(device)}, faults);
    publish();
    return id;
}

void SimulatedWorld::unplug(std::string_view uid) {
    requirePlugged(uid);
    hardware_.pullOut(objectID(uid));
    publish();
}

void SimulatedWorld::replug(std::string_view uid) {
    const bool hasAnotherID = faults.returnsWithAnotherID.consume().has_value();
    bringBack(uid, hasAnotherID ? hardware_.newID() : kAudioObjectUnknown);
}

void SimulatedWorld::replugWithAnotherID(std::string_view uid) { bringBack(uid, hardware_.newID()); }

void SimulatedWorld::bringBack(std::string_view uid, AudioObjectID newID) {
    auto back = hardware_.takeUnplugged(uid);
    if (!back) refuse("\"" + std::string(uid) + "\" was not unplugged");
    if (newID != kAudioObjectUnknown) back->id = newID;
    hardware_.plugIn(std::move(*back), faults);
    publish();
}

void SimulatedWorld::change(std::string_view uid, const std::function<void(SimulatedDevice&)>& change) {
    SimulatedDevice changed = device(uid);
    change(changed);
    if (changed.uid != uid) refuse("a device keeps its UID");
    hardware_.replace(uid, std::move(changed));
    publish();
}

void SimulatedWorld::rename(std::string_view uid, std::string name) {
    change(uid, [&name](SimulatedDevice& device) { device.name = std::move(name); });
}

void SimulatedWorld::setSampleRate(std::string_view uid, double rate) {
    change(uid, [rate](SimulatedDevice& device) { device.sampleRate = rate; });
}

void SimulatedWorld::setSampleRates(std::string_view uid, std::vector<SampleRateRange> rates) {
    change(uid, [&rates](SimulatedDevice& device) { device.sampleRates = std::move(rates); });
}

void SimulatedWorld::setVolume(std::string_view uid, float volume) {
    change(uid, [volume](SimulatedDevice& device) { device.volume = volume; });
}

void SimulatedWorld::setMuted(std::string_view uid, bool isMuted) {
    change(uid, [isMuted](SimulatedDevice& device) { device.isMuted = isMuted; });
}

void SimulatedWorld::kill(std::string_view uid) {
    change(uid, [](SimulatedDevice& device) { device.isAlive = false; });
}

// The system's outputs

void SimulatedWorld::pickDefault(std::string_view uid) {
    if (!hardware_.canPlay(objectID(uid)))
        refuse("\"" + std::string(uid) + "\" can't be picked as an output");
    hardware_.setDefaultOutput(objectID(uid));
    publish();
}

void SimulatedWorld::pickAlertOutput(std::string_view uid) {
    if (!hardware_.canPlay(objectID(uid)))
        refuse("\"" + std::string(uid) + "\" can't be picked as an output");
    hardware_.setAlertOutput(objectID(uid));
    publish();
}

// Aggregates

AudioObjectID SimulatedWorld::makeAggregate(const AggregateDeviceDescription& description) {
    auto& made = hardware_.makeAggregate(description, faults);
    const AudioObjectID id = made.id;
    if (faults.neverAlive.consume()) {
        made.isAlive = false;
    } else if (const auto delay = faults.aliveAfter.consume()) {
        made.isAlive = false;
        doAfter(delay, [id](SimulatedHardware& hardware) { hardware.setAlive(id); });
    }
    publish();
    return id;
}

void SimulatedWorld::removeAggregate(std::string_view uid) {
    const auto* found = std::as_const(hardware_).aggregate(uid);
    if (!found) refuse("there is no aggregate \"" + std::string(uid) + "\"");
    hardware_.eraseAggregate(found->id);
    publish();
}

void SimulatedWorld::destroyAggregate(AudioObjectID id) {
    const auto delay = faults.lingersAfterDestroy.consume();
    if (delay) hardware_.letGo(id);
    doAfter(delay, [id](SimulatedHardware& hardware) { hardware.eraseAggregate(id); });
}

void SimulatedWorld::loseDelays(std::string_view aggregateUID) {
    auto* found = hardware_.aggregate(objectID(aggregateUID));
    if (!found) refuse("there is no aggregate \"" + std::string(aggregateUID) + "\"");
    found->delays.clear();
    hardware_.note(found->id, kVeltoAggregatePropertyOutputDelaysLost);
    publish();
}

// The audio service and the program

void SimulatedWorld::stopAudioService() {
    isHanging_ = isKnownToHang_ = false;
    lastHeard_.reset();
    lateWork_.clear();
    isServiceRunning_ = false;
    listeners_.forgetAllButServiceRestarted();
    hardware_.forgetAggregates();
    publish();
    lossObservers_.notify();
}

void SimulatedWorld::startAudioService() {
    if (std::exchange(isServiceRunning_, true)) return;
    hardware_.renumber();
    hardware_.note(kAudioObjectSystemObject, kAudioHardwarePropertyServiceRestarted);
    publish();
}

void SimulatedWorld::restartAudioService() {
    stopAudioService();
    startAudioService();
}

void SimulatedWorld::hangAudioService() {
    if (!isServiceRunning_ || std::exchange(isHanging_, true)) return;
    lastHeard_ = hardware_;
}

void SimulatedWorld::resumeAudioService() {
    if (!std::exchange(isHanging_, false)) return;
    isKnownToHang_ = false;
    lastHeard_.reset();
    for (const Work& work : std::exchange(lateWork_, {}))
        work(hardware_);
    hardware_.note(kAudioObjectSystemObject, kAudioHardwarePropertyServiceRestarted);
    publish();
}

void SimulatedWorld::programDies() {
    listeners_.forgetAll();
    lastHeard_.reset();
    for (const SimulatedAggregate& left : aggregates())
        hardware_.aggregate(left.deviceID)->sweeps.reset();
}

// Questions

const SimulatedDevice& SimulatedWorld::device(std::string_view uid) const {
    requirePlugged(uid);
    return hardware_.plugged().find(uid)->device;
}

std::vector<std::string> SimulatedWorld::pluggedUIDs() const {
    std::vector<std::string> uids;
    for (const auto& plugged : hardware_.plugged())
        uids.push_back(plugged.device.uid);
    return uids;
}

std::vector<std::string> SimulatedWorld::unpluggedUIDs() const {
    std::vector<std::string> uids;
    for (const auto& entry : hardware_.unplugged())
        uids.push_back(entry.first);
    return uids;
}

std::vector<SimulatedAggregate> SimulatedWorld::aggregates() const {
    std::vector<SimulatedAggregate> result;
    for (const auto& aggregate : hardware_.aggregates()) {
        if (aggregate.isGoing) continue;
        SimulatedAggregate& seen = result.emplace_back();
        seen = {aggregate.id,     aggregate.description, {}, aggregate.sampleRate, aggregate.isAlive,
                aggregate.delays, aggregate.sweeps};
        if (seen.sweeps && now() - seen.sweeps->begunAt > longestSweeps) seen.sweeps.reset();
        for (const auto& member : aggregate.members)
            seen.members.push_back({member.uid, member.driftCompensation, member.subDevice != 0});
    }
    return result;
}

// What follows

void SimulatedWorld::doAfter(std::optional<Duration> interval, Work work) {
    if (!interval) return work(hardware_);
    actor_.postAfter(*interval, lifetime_.whileAlive([this, work = std::move(work)] {
        work(hardware_);
        publish();
    }));
}

void SimulatedWorld::publish() {
    if (isHanging_) return observers_.notify(); // the program hears of it when the service answers
    const auto changes = hardware_.takeChanges();
    if (changes.empty()) return;
    const auto delivery = faults.notifiesSynchronously.consume() ? SimulatedListeners::Delivery::synchronous
                                                                 : SimulatedListeners::Delivery::posted;
    for (const auto& [id, address] : changes)
        listeners_.notify(id, address, delivery);
    observers_.notify();
}

} // namespace velto
