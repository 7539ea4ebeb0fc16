#include "Simulation/SimulatedDevice.h"

#include <algorithm>

namespace velto {

bool SimulatedDevice::supports(double rate) const noexcept {
    return std::ranges::any_of(sampleRates,
                               [rate](const SampleRateRange& range) { return range.contains(rate); });
}

SimulatedDevice SimulatedDevice::builtInSpeakers() {
    return {.uid = "builtin",
            .name = "Built-in Speakers",
            .transport = kAudioDeviceTransportTypeBuiltIn,
            .manufacturer = "Acme",
            .latencyFrames = 24,
            .safetyOffsetFrames = 40,
            .volume = 0.5F,
            .isMuted = false};
}

SimulatedDevice SimulatedDevice::usbInterface() {
    return {.uid = "usb",
            .name = "USB DAC",
            .transport = kAudioDeviceTransportTypeUSB,
            .sampleRates = {{44100, 44100}, {48000, 48000}, {96000, 96000}},
            .sampleRate = 44100,
            .manufacturer = "Tonwerk",
            .latencyFrames = 64,
            .safetyOffsetFrames = 32};
}

SimulatedDevice SimulatedDevice::bluetoothHeadphones() {
    return {.uid = "bluetooth",
            .name = "Headphones",
            .transport = kAudioDeviceTransportTypeBluetooth,
            .sampleRates = {{48000, 48000}},
            .latencyFrames = 7200,
            .volume = 0.75F,
            .isMuted = false};
}

SimulatedDevice SimulatedDevice::hdmiDisplay() {
    return {.uid = "hdmi",
            .name = "Display",
            .transport = kAudioDeviceTransportTypeHDMI,
            .sampleRates = {{32000, 192000}}};
}

SimulatedDevice SimulatedDevice::microphone() {
    return {.uid = "microphone",
            .name = "Microphone",
            .transport = kAudioDeviceTransportTypeBuiltIn,
            .outputChannels = 0};
}

} // namespace velto
