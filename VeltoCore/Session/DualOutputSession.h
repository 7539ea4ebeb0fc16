// DualOutputSession: the record of one running session on two outputs.
//
// Made by SystemAudioManager when the session becomes active, and never changed after.
#pragma once

#include "VeltoCore/CoreAudio/AudioOutputDevice.h"
#include "VeltoCore/CoreAudio/CoreAudioTypes.h"
#include "VeltoCore/Foundation/Date.h"

#include <array>
#include <optional>
#include <string>

namespace velto {

struct DualOutputSession {
    AudioOutputDevice first;
    AudioOutputDevice second;
    /// The aggregate that plays to both.
    AudioObjectID aggregateDeviceID = kAudioObjectUnknown;
    std::string aggregateUID;
    /// The UID of the output that is the aggregate's clock.
    std::string masterUID;
    /// The aggregate's nominal rate in Hz.
    double sampleRate = 0;
    /// The default output before the session; absent when it could not be read.
    std::optional<std::string> previousDefaultOutputUID = std::nullopt;
    Date startedAt;

    /// The first, then the second.
    std::array<AudioOutputDevice, 2> devices() const { return {first, second}; }

    friend bool operator==(const DualOutputSession&, const DualOutputSession&) = default;
};

} // namespace velto
