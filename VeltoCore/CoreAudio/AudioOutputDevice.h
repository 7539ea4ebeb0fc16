// AudioOutputDevice: the value by which every part of the system speaks of one audio output.
//
// Identity is the UID; the object ID is valid only while the device is present and is never stored.
#pragma once

#include "VeltoCore/CoreAudio/AudioTransportType.h"
#include "VeltoCore/CoreAudio/CoreAudioTypes.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velto {

/// A closed range of sample rates in Hz; a discrete rate has equal ends.
struct SampleRateRange {
    double lowerBound = 0;
    double upperBound = 0;
    bool contains(double rate) const noexcept { return lowerBound <= rate && rate <= upperBound; }
    friend bool operator==(const SampleRateRange&, const SampleRateRange&) = default;
};

struct AudioOutputDevice {
    /// The hardware layer's object ID; 0 for a device that is not connected.
    AudioObjectID deviceID = kAudioObjectUnknown;
    /// Stable across reconnects and restarts.
    std::string uid;
    std::string name;
    AudioTransportType transportType;
    /// False only for placeholders of remembered but absent devices.
    bool isConnected = true;
    /// Nominal rate in Hz; 0 when unknown.
    double sampleRate = 0;
    std::vector<SampleRateRange> availableSampleRates;
    /// Output channels, summed over the output streams.
    std::int64_t outputChannelCount = 0;
    std::optional<std::string> manufacturer;
    /// Device output latency in frames at the nominal rate.
    std::optional<std::int64_t> latencyFrames;
    std::optional<std::int64_t> safetyOffsetFrames;
    /// Whether the device exposes output volume; absent when not asked.
    std::optional<bool> hasVolumeControl;

    /// A placeholder for a device that is remembered but not connected.
    static AudioOutputDevice disconnected(std::string uid, std::string name,
                                          AudioTransportType transportType);

    const std::string& id() const noexcept { return uid; }
    bool supportsOutput() const noexcept { return outputChannelCount > 0; }
    bool isBuiltIn() const noexcept { return transportType.kind() == AudioTransportType::Kind::builtIn; }
    bool isVirtual() const noexcept {
        return transportType.kind() == AudioTransportType::Kind::virtualDevice;
    }
    bool isBluetooth() const noexcept { return transportType.isBluetooth(); }
    bool isAggregate() const noexcept { return transportType.isAggregate(); }

    /// Device latency plus safety offset, in milliseconds; stream latency and buffer size are no part of it.
    /// Absent when the latency or the rate is unknown.
    std::optional<double> reportedLatencyMilliseconds() const noexcept;
    bool supports(double sampleRate) const noexcept;

    friend bool operator==(const AudioOutputDevice&, const AudioOutputDevice&) = default;
};

} // namespace velto
