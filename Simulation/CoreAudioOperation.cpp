#include "Simulation/CoreAudioOperation.h"

#include <algorithm>
#include <array>

namespace velto {

namespace {

constexpr std::array<std::string_view, coreAudioOperationCount> names{
    "allDeviceIDs",
    "deviceIDForUID",
    "deviceUID",
    "deviceName",
    "transportType",
    "deviceManufacturer",
    "outputLatencyFrames",
    "outputSafetyOffsetFrames",
    "outputChannelCount",
    "isAlive",
    "isHidden",
    "isRunningSomewhere",
    "nominalSampleRate",
    "availableSampleRates",
    "setNominalSampleRate",
    "defaultOutputDeviceID",
    "setDefaultOutputDevice",
    "defaultSystemOutputDeviceID",
    "setDefaultSystemOutputDevice",
    "createAggregateDevice",
    "destroyAggregateDevice",
    "aggregateComposition",
    "aggregateFullSubDeviceUIDs",
    "aggregateActiveSubDeviceIDs",
    "aggregateMainSubDeviceUID",
    "supportsSubDeviceDriftCompensation",
    "subDeviceDriftCompensation",
    "setSubDeviceDriftCompensation",
    "setOutputDelays",
    "playSweeps",
    "endSweeps",
    "supportsOutputVolume",
    "outputVolume",
    "setOutputVolume",
    "supportsOutputMute",
    "outputMute",
    "setOutputMute",
    "addOutputVolumeListener",
    "addOutputMuteListener",
    "addPropertyListener",
    "removePropertyListener",
};

} // namespace

std::string_view name(CoreAudioOperation operation) noexcept {
    return names[static_cast<std::size_t>(operation)];
}

bool isChange(CoreAudioOperation operation) noexcept {
    using enum CoreAudioOperation;
    constexpr std::array changes{setNominalSampleRate,  setDefaultOutputDevice, setDefaultSystemOutputDevice,
                                 createAggregateDevice, destroyAggregateDevice, setSubDeviceDriftCompensation,
                                 setOutputVolume,       setOutputMute};
    return std::ranges::find(changes, operation) != changes.end();
}

} // namespace velto
