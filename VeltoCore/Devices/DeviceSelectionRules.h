// DeviceSelectionRules: which devices the user may pick, which of a pair clocks the aggregate, and what to
// fall back to.
//
// Pure functions. Aggregates, our own among them, and devices without output channels are never picked.
#pragma once

#include "VeltoCore/CoreAudio/AudioOutputDevice.h"
#include "VeltoCore/Services/TextCollation.h"

#include <optional>
#include <string_view>
#include <vector>

namespace velto {

struct DeviceSelectionRules {
    DeviceSelectionRules() = delete;

    /// What the user may choose as one of the two outputs: built-in ones first, then by name.
    static std::vector<AudioOutputDevice>
    selectableOutputDevices(const std::vector<AudioOutputDevice>& devices,
                            std::optional<std::string_view> excludingUID, const TextCollation& collation);

    /// The clock of a pair: the second only when the first is Bluetooth and the second isn't.
    static AudioOutputDevice masterDevice(const AudioOutputDevice& first, const AudioOutputDevice& second);

    /// The output to use when the current one is gone: the first built-in one, else the first of all, in the
    /// order given; none when nothing is left.
    static std::optional<AudioOutputDevice>
    fallbackOutputDevice(const std::vector<AudioOutputDevice>& devices,
                         std::optional<std::string_view> excludingUID);
};

} // namespace velto
