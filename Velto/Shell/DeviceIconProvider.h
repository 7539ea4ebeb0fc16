// DeviceIconProvider: the icon of a device, by its name where that tells more than its transport. Pure.
#pragma once

#include "VeltoCore/CoreAudio/AudioOutputDevice.h"

#include <string_view>

namespace velto {

struct DeviceIconProvider {
    DeviceIconProvider() = delete;

    /// The name of a system symbol.
    static std::string_view symbolName(const AudioOutputDevice& forDevice);
};

} // namespace velto
