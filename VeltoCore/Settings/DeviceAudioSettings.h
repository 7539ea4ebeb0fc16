// DeviceAudioSettings: what a preset remembers of one device.
#pragma once

#include <optional>

namespace velto {

/// What is absent leaves the device as it is.
struct DeviceAudioSettings {
    /// From 0 to 1.
    std::optional<float> volume;
    std::optional<bool> isMuted;
    std::optional<double> delayMilliseconds;

    friend bool operator==(const DeviceAudioSettings&, const DeviceAudioSettings&) = default;
};

} // namespace velto
