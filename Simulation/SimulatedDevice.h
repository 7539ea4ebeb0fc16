// SimulatedDevice, SimulatedAggregate: what the simulated world knows of a device and of an aggregate.
//
// A device is described by the one who plugs it in; an aggregate is a snapshot to look at.
#pragma once

#include "VeltoCore/Async/Clock.h"
#include "VeltoCore/CoreAudio/AggregateDeviceDescription.h"
#include "VeltoCore/CoreAudio/AudioOutputDevice.h"
#include "VeltoCore/CoreAudio/CoreAudioTypes.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velto {

struct SimulatedDevice {
    std::string uid;
    std::string name;
    AudioDeviceTransportType transport = kAudioDeviceTransportTypeUSB;
    std::vector<SampleRateRange> sampleRates{{44100, 44100}, {48000, 48000}};
    double sampleRate = 48000;
    /// 0 for a device with inputs only.
    std::int64_t outputChannels = 2;
    std::optional<std::string> manufacturer = std::nullopt;
    std::optional<std::int64_t> latencyFrames = std::nullopt;
    std::optional<std::int64_t> safetyOffsetFrames = std::nullopt;
    /// Absent: the device has no such control.
    std::optional<float> volume = std::nullopt;
    /// What is written is rounded to a multiple of it; 0 for a device that takes any volume.
    float volumeStep = 0;
    std::optional<bool> isMuted = std::nullopt;
    /// Present, but asking to be left out of lists.
    bool isHidden = false;
    /// False: the device list leaves it out, yet it can be found by UID and be the default output.
    bool isListed = true;
    /// False: present, but its driver has given up.
    bool isAlive = true;
    bool isRunning = false;
    /// False: it answers nothing but what its UID is.
    bool isReadable = true;

    bool supports(double rate) const noexcept;
    friend bool operator==(const SimulatedDevice&, const SimulatedDevice&) = default;

    // Ready-made ones. The UIDs are "builtin", "usb", "bluetooth", "hdmi", "microphone".

    /// Volume and mute; 44.1 and 48 kHz.
    static SimulatedDevice builtInSpeakers();
    /// No volume control; 44.1, 48 and 96 kHz, running at 44.1.
    static SimulatedDevice usbInterface();
    /// Volume and mute; 48 kHz only, with a long latency.
    static SimulatedDevice bluetoothHeadphones();
    /// Neither volume nor mute; any rate from 32 to 192 kHz.
    static SimulatedDevice hdmiDisplay();
    /// Inputs only.
    static SimulatedDevice microphone();
};

/// Sweeps in place of what players send.
struct SimulatedSweeps {
    std::string rising;
    std::string falling;
    double peak = 0;
    double sampleRate = 0;
    ContinuousInstant begunAt;
    /// Of the outputs when they began, in milliseconds, by UID.
    std::map<std::string, double> delays;
};

struct SimulatedAggregate {
    struct Member {
        std::string uid;
        bool driftCompensation = false;
        /// False while the output is unplugged, and after it returned without rejoining.
        bool isActive = false;
    };

    AudioObjectID deviceID = kAudioObjectUnknown;
    AggregateDeviceDescription description;
    std::vector<Member> members;
    double sampleRate = 0;
    bool isAlive = false;
    /// In milliseconds, by UID.
    std::map<std::string, double> delays;
    /// None while what players send is heard.
    std::optional<SimulatedSweeps> sweeps;
};

} // namespace velto
