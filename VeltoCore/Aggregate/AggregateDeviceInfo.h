// AggregateDeviceInfo: what a created aggregate is known by.
#pragma once

#include "VeltoCore/CoreAudio/CoreAudioTypes.h"

#include <string>

namespace velto {

struct AggregateDeviceInfo {
    AudioObjectID deviceID = kAudioObjectUnknown;
    std::string uid;
    /// The UID of the output chosen as the clock.
    std::string masterUID;
    /// The nominal rate in Hz that the aggregate was set up for.
    double sampleRate = 0;
    friend bool operator==(const AggregateDeviceInfo&, const AggregateDeviceInfo&) = default;
};

} // namespace velto
