// AudioClockCoordinator: which output of a group becomes the aggregate's main (clock) device.
#pragma once

#include "VeltoCore/Aggregate/ClockStrategy.h"
#include "VeltoCore/CoreAudio/AudioOutputDevice.h"

#include <optional>
#include <vector>

namespace velto {

struct AudioClockCoordinator {
    AudioClockCoordinator() = delete;

    /// None only for an empty group.
    static std::optional<AudioOutputDevice> masterDevice(const std::vector<AudioOutputDevice>& devices,
                                                         ClockStrategy strategy);
};

} // namespace velto
