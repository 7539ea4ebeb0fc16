// The client's side of the simulated audio system: volume, mute, listeners.
#include "Simulation/SimulatedAudioCalls.h"
#include "VeltoCore/CoreAudio/ClampedVolume.h"

#include <cmath>

namespace velto {

using simulated::refuse;
using simulated::theSystem;

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
        const float clamped = clampedVolume(volume);
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
