#include "Platform/Linux/PipeWire/PipeWireSnapshot.h"

#include "Platform/Linux/PipeWire/PipeWireAggregates.h"
#include "Platform/Linux/PipeWire/PipeWireDeviceProperties.h"
#include "Platform/Linux/PipeWire/PipeWireGraph.h"
#include "Platform/Linux/PipeWire/PipeWireNode.h"
#include "Platform/Linux/PipeWire/PipeWireSystemOutputs.h"

#include <algorithm>

namespace velto {

PipeWireSnapshot PipeWireSnapshot::of(const PipeWireGraph& graph, const PipeWireAggregates& aggregates,
                                      const PipeWireSystemOutputs& outputs) {
    PipeWireSnapshot result;
    for (const PipeWireNode* node : graph.devices()) {
        if (aggregates.isJoining(*node)) continue;
        result.devices.emplace(node->objectID(),
                               Device{node->channelVolumes(), node->isMuted(), node->isRunning(),
                                      !node->hasFailed(), std::string(node->displayName()),
                                      PipeWireDeviceProperties::outputChannelCount(graph, *node) > 0});
    }
    if (const PipeWireNode* node = outputs.defaultOutput()) result.defaultOutput = node->objectID();
    if (const PipeWireNode* node = outputs.alertOutput()) result.alertOutput = node->objectID();
    if (graph.settingsMetadata()) result.sampleRate = outputs.sampleRate();
    return result;
}

std::set<ListenedProperty> PipeWireSnapshot::differences(const PipeWireSnapshot& next) const {
    std::set<ListenedProperty> result;
    const auto system = [&](bool differs, AudioObjectPropertySelector selector) {
        if (differs) result.emplace(kAudioObjectSystemObject, selector);
    };
    const auto sameDevice = [](const auto& a, const auto& b) {
        return a.first == b.first && a.second.canPlay == b.second.canPlay;
    };
    system(!std::ranges::equal(devices, next.devices, sameDevice), kAudioHardwarePropertyDevices);
    system(defaultOutput != next.defaultOutput, kAudioHardwarePropertyDefaultOutputDevice);
    system(alertOutput != next.alertOutput, kAudioHardwarePropertyDefaultSystemOutputDevice);

    for (const auto& [objectID, before] : devices)
        if (!next.devices.contains(objectID)) result.emplace(objectID, kAudioDevicePropertyDeviceIsAlive);
    for (const auto& [objectID, after] : next.devices) {
        const auto property = [&](bool differs, AudioObjectPropertySelector selector) {
            if (differs) result.emplace(objectID, selector);
        };
        const auto found = devices.find(objectID);
        // Of a new one everything differs: who found it before this was told may have read something older.
        const bool isNew = found == devices.end();
        const Device& before = isNew ? after : found->second;
        const bool volumeDiffers = isNew || before.channelVolumes != after.channelVolumes;
        property(volumeDiffers, kAudioHardwareServiceDeviceProperty_VirtualMainVolume);
        property(volumeDiffers, kAudioDevicePropertyVolumeScalar);
        property(isNew || before.isMuted != after.isMuted, kAudioDevicePropertyMute);
        property(isNew || before.isRunning != after.isRunning, kAudioDevicePropertyDeviceIsRunningSomewhere);
        property(isNew || before.isAlive != after.isAlive, kAudioDevicePropertyDeviceIsAlive);
        property(isNew || before.name != after.name, kAudioObjectPropertyName);
        property(isNew || sampleRate != next.sampleRate, kAudioDevicePropertyNominalSampleRate);
    }
    return result;
}

} // namespace velto
