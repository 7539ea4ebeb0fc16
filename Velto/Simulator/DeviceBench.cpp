#include "Velto/Simulator/DeviceBench.h"

#include "VeltoCore/CoreAudio/AudioTransportType.h"

#include <algorithm>
#include <array>
#include <ranges>
#include <utility>

namespace velto {

namespace {

constexpr std::size_t callsShown = 60;

} // namespace

std::vector<BenchDevice> DeviceBench::devices() const {
    std::vector<BenchDevice> devices;
    const auto aggregates = world().aggregates();
    const auto isMember = [&](const std::string& uid) {
        return std::ranges::any_of(aggregates, [&](const SimulatedAggregate& aggregate) {
            return std::ranges::any_of(
                aggregate.members, [&](const auto& member) { return member.uid == uid && member.isActive; });
        });
    };
    for (const std::string& uid : world().pluggedUIDs()) {
        const SimulatedDevice& device = world().device(uid);
        if (device.outputChannels == 0) continue; // a microphone
        devices.push_back({.uid = uid,
                           .name = device.name,
                           .transport = AudioTransportType(device.transport).displayName(),
                           .isPlugged = true,
                           .isDefault = world().defaultOutputUID() == uid,
                           .isInAggregate = isMember(uid),
                           .hasVolume = device.volume.has_value(),
                           .volume = device.volume.value_or(0),
                           .sampleRate = device.sampleRate});
    }
    for (const std::string& uid : world().unpluggedUIDs()) {
        BenchDevice device;
        device.uid = uid;
        device.name = unplugged_.contains(uid) ? unplugged_.at(uid) : uid;
        devices.push_back(std::move(device));
    }
    return devices;
}

std::string DeviceBench::defaultOutputName() const {
    const std::string uid = world().defaultOutputUID();
    if (world().isPlugged(uid)) return world().device(uid).name;
    for (const SimulatedAggregate& aggregate : world().aggregates())
        if (aggregate.description.uid == uid) return aggregate.description.name;
    return "—";
}

std::vector<std::string> DeviceBench::recentCalls() const {
    std::vector<std::string> lines;
    for (const auto& call : world().calls.log() | std::views::reverse | std::views::take(callsShown))
        lines.push_back(std::string(name(call.operation)) + "  " + std::to_string(call.object));
    return lines;
}

void DeviceBench::togglePlug(std::string_view uid) {
    if (world().isPlugged(uid)) {
        unplugged_.insert_or_assign(std::string(uid), world().device(uid).name);
        world().unplug(uid);
    } else if (unplugged_.contains(uid)) {
        world().replug(uid);
    }
}

void DeviceBench::rename(std::string_view uid, std::string name) {
    if (world().isPlugged(uid)) world().rename(uid, std::move(name));
}

void DeviceBench::setVolume(std::string_view uid, float volume) {
    if (world().isPlugged(uid)) world().setVolume(uid, volume);
}

void DeviceBench::toggleSampleRate(std::string_view uid) {
    if (world().isPlugged(uid))
        world().setSampleRate(uid, world().device(uid).sampleRate == 48000 ? 44100 : 48000);
}

void DeviceBench::pickDefault(std::string_view uid) {
    if (world().isPlugged(uid)) world().pickDefault(uid);
}

void DeviceBench::plugAnother() {
    static constexpr std::array names{"HomePod Küche", "Wohnzimmer-Lautsprecherverstärker", "سماعات المكتب",
                                      "Monitor"};
    static constexpr std::array transports{kAudioDeviceTransportTypeAirPlay, kAudioDeviceTransportTypeUSB,
                                           kAudioDeviceTransportTypeBluetooth, kAudioDeviceTransportTypeHDMI};
    const auto kind = static_cast<std::size_t>(plugged_) % names.size();
    const std::string number = std::to_string(++plugged_);
    world().plug({.uid = "another-" + number,
                  .name = std::string(names.at(kind)) + (kind + 1 == names.size() ? " " + number : ""),
                  .transport = transports.at(kind),
                  .volume = 0.5F,
                  .isMuted = false});
}

void DeviceBench::restartAudioService() { world().restartAudioService(); }

void DeviceBench::failNextStart() {
    world().calls.failNext(CoreAudioOperation::createAggregateDevice, kAudioHardwareUnspecifiedError);
}

void DeviceBench::failNextCall() { world().calls.failCall(0, kAudioHardwareUnspecifiedError); }

} // namespace velto
