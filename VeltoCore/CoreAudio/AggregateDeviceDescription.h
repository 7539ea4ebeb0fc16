// AggregateDeviceDescription: which multi-output device is to be created.
//
// A plain value; it turns itself into the composition dictionary that the hardware layer takes.
#pragma once

#include "VeltoCore/CoreAudio/CompositionValue.h"

#include <string>
#include <string_view>
#include <vector>

namespace velto {

/// The keys of a composition dictionary.
namespace CompositionKey {
inline constexpr std::string_view uid = "uid";
inline constexpr std::string_view name = "name";
inline constexpr std::string_view subDevices = "subdevices";
inline constexpr std::string_view mainSubDevice = "master";
inline constexpr std::string_view isStacked = "stacked";
inline constexpr std::string_view isPrivate = "private";
inline constexpr std::string_view driftCompensation = "drift";
} // namespace CompositionKey

struct AggregateDeviceDescription {
    struct SubDevice {
        std::string uid;
        /// Whether this output is resampled onto the main device's clock.
        bool driftCompensation = false;
        friend bool operator==(const SubDevice&, const SubDevice&) = default;
    };

    std::string uid;
    std::string name;
    /// One per output of the group, in the group's order.
    std::vector<SubDevice> subDevices;
    /// The output that is the time base.
    std::string mainSubDeviceUID;
    /// All outputs play the same signal.
    bool isStacked = true;
    bool isPrivate = false;

    /// Exactly six entries; Booleans as the integers 0 and 1. "master" alone names the clock source.
    CompositionDictionary dictionaryRepresentation() const;

    friend bool operator==(const AggregateDeviceDescription&, const AggregateDeviceDescription&) = default;
};

} // namespace velto
