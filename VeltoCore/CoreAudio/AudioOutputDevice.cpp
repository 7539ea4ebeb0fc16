#include "VeltoCore/CoreAudio/AudioOutputDevice.h"

#include <algorithm>
#include <utility>

namespace velto {

AudioOutputDevice AudioOutputDevice::disconnected(std::string uid, std::string name,
                                                  AudioTransportType transportType) {
    AudioOutputDevice device;
    device.uid = std::move(uid);
    device.name = std::move(name);
    device.transportType = transportType;
    device.isConnected = false;
    return device;
}

std::optional<double> AudioOutputDevice::reportedLatencyMilliseconds() const noexcept {
    if (!latencyFrames || !(sampleRate > 0)) return std::nullopt;
    const std::int64_t frames = *latencyFrames + safetyOffsetFrames.value_or(0);
    return static_cast<double>(frames) / sampleRate * 1000.0;
}

bool AudioOutputDevice::supports(double rate) const noexcept {
    return std::ranges::any_of(availableSampleRates,
                               [rate](const SampleRateRange& range) { return range.contains(rate); });
}

} // namespace velto
