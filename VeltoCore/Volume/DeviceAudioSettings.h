// DeviceAudioSettings: what a preset remembers of one device.
#pragma once

#include <optional>

namespace velto {

/// What is absent leaves the device as it is.
struct DeviceAudioSettings {
    /// From 0 to 1.
    std::optional<float> volume = std::nullopt;
    std::optional<bool> isMuted = std::nullopt;
    std::optional<double> delayMilliseconds = std::nullopt;

    friend bool operator==(const DeviceAudioSettings&, const DeviceAudioSettings&) = default;
};

} // namespace velto
