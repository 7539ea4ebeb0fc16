#include "VeltoCore/Aggregate/AudioClockCoordinator.h"

#include "VeltoCore/Devices/DeviceSelectionRules.h"

#include <algorithm>

namespace velto {

namespace {

using Devices = std::vector<AudioOutputDevice>;

/// The first device for which the test holds, else the first of all.
AudioOutputDevice firstOrFront(const Devices& devices, auto test) {
    const auto found = std::ranges::find_if(devices, test);
    return found == devices.end() ? devices.front() : *found;
}

AudioOutputDevice automatic(const Devices& devices) {
    if (devices.size() == 2) return DeviceSelectionRules::masterDevice(devices[0], devices[1]);
    return firstOrFront(devices, [](const AudioOutputDevice& device) { return !device.isBluetooth(); });
}

AudioOutputDevice lowestLatency(const Devices& devices) {
    const AudioOutputDevice* best = &devices.front();
    std::optional<double> bestLatency;
    for (const AudioOutputDevice& device : devices) {
        const auto latency = device.reportedLatencyMilliseconds();
        if (!latency || (bestLatency && *latency >= *bestLatency)) continue; // the earlier one wins a tie
        best = &device;
        bestLatency = latency;
    }
    return *best;
}

} // namespace

std::optional<AudioOutputDevice>
AudioClockCoordinator::masterDevice(const std::vector<AudioOutputDevice>& devices, ClockStrategy strategy) {
    if (devices.empty()) return std::nullopt;
    switch (strategy) {
    case ClockStrategy::automatic:
        return automatic(devices);
    case ClockStrategy::firstSelected:
        return devices.front();
    case ClockStrategy::builtInPreferred:
        return firstOrFront(devices, [](const AudioOutputDevice& device) { return device.isBuiltIn(); });
    case ClockStrategy::lowestLatency:
        return lowestLatency(devices);
    }
    return devices.front();
}

} // namespace velto
