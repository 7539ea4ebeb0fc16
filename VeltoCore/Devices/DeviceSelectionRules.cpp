#include "VeltoCore/Devices/DeviceSelectionRules.h"

#include <list>

namespace velto {

namespace {

bool isCandidate(const AudioOutputDevice& device, std::optional<std::string_view> excludingUID) {
    return device.supportsOutput() && device.uid != excludingUID && !device.isAggregate();
}

} // namespace

std::vector<AudioOutputDevice>
DeviceSelectionRules::selectableOutputDevices(const std::vector<AudioOutputDevice>& devices,
                                              std::optional<std::string_view> excludingUID,
                                              const TextCollation& collation) {
    std::list<const AudioOutputDevice*> candidates;
    for (const AudioOutputDevice& device : devices) {
        if (isCandidate(device, excludingUID)) candidates.push_back(&device);
    }
    // Stable, and safe with a platform's order of names that contradicts itself.
    candidates.sort([&](const AudioOutputDevice* a, const AudioOutputDevice* b) {
        if (a->isBuiltIn() != b->isBuiltIn()) return a->isBuiltIn();
        return collation.compare(a->name, b->name) < 0;
    });
    std::vector<AudioOutputDevice> result;
    result.reserve(candidates.size());
    for (const AudioOutputDevice* device : candidates)
        result.push_back(*device);
    return result;
}

AudioOutputDevice DeviceSelectionRules::masterDevice(const AudioOutputDevice& first,
                                                     const AudioOutputDevice& second) {
    return first.isBluetooth() && !second.isBluetooth() ? second : first;
}

std::optional<AudioOutputDevice>
DeviceSelectionRules::fallbackOutputDevice(const std::vector<AudioOutputDevice>& devices,
                                           std::optional<std::string_view> excludingUID) {
    const AudioOutputDevice* fallback = nullptr;
    for (const AudioOutputDevice& device : devices) {
        if (!isCandidate(device, excludingUID)) continue;
        if (device.isBuiltIn()) return device;
        if (!fallback) fallback = &device;
    }
    return fallback ? std::optional(*fallback) : std::nullopt;
}

} // namespace velto
