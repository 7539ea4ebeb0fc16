// CoreAudioOperation: the operations of a CoreAudioClient by name, for call counts and faults.
#pragma once

#include <cstddef>
#include <string_view>

namespace velto {

/// In the order of the interface. The convenience form of addPropertyListener counts as the general one.
enum class CoreAudioOperation {
    allDeviceIDs,
    deviceIDForUID,
    deviceUID,
    deviceName,
    transportType,
    deviceManufacturer,
    outputLatencyFrames,
    outputSafetyOffsetFrames,
    outputChannelCount,
    isAlive,
    isHidden,
    isRunningSomewhere,
    nominalSampleRate,
    availableSampleRates,
    setNominalSampleRate,
    defaultOutputDeviceID,
    setDefaultOutputDevice,
    defaultSystemOutputDeviceID,
    setDefaultSystemOutputDevice,
    createAggregateDevice,
    destroyAggregateDevice,
    aggregateComposition,
    aggregateFullSubDeviceUIDs,
    aggregateActiveSubDeviceIDs,
    aggregateMainSubDeviceUID,
    supportsSubDeviceDriftCompensation,
    subDeviceDriftCompensation,
    setSubDeviceDriftCompensation,
    setOutputDelays,
    playSweeps,
    endSweeps,
    supportsOutputVolume,
    outputVolume,
    setOutputVolume,
    supportsOutputMute,
    outputMute,
    setOutputMute,
    addOutputVolumeListener,
    addOutputMuteListener,
    addPropertyListener,
    removePropertyListener,
};

inline constexpr std::size_t coreAudioOperationCount =
    static_cast<std::size_t>(CoreAudioOperation::removePropertyListener) + 1;

std::string_view name(CoreAudioOperation operation) noexcept;
/// Whether the operation changes something, and so needs an answer even while the service hangs.
bool isChange(CoreAudioOperation operation) noexcept;

} // namespace velto
