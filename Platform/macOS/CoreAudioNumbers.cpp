// The numbers and keys of the core are the platform's own: checked when this is compiled, never run.
#include "VeltoCore/CoreAudio/AggregateDeviceDescription.h"
#include "VeltoCore/CoreAudio/CoreAudioTypes.h"

#include <AudioToolbox/AudioToolbox.h>
#include <CoreAudio/CoreAudio.h>

#include <cstdint>

namespace velto {

namespace {

consteval bool isSame(std::int64_t own, std::int64_t platforms) {
    return static_cast<std::uint32_t>(own) == static_cast<std::uint32_t>(platforms);
}

static_assert(isSame(kAudioObjectUnknown, ::kAudioObjectUnknown));
static_assert(isSame(kAudioObjectSystemObject, ::kAudioObjectSystemObject));
static_assert(isSame(kAudioObjectPropertyElementMain, ::kAudioObjectPropertyElementMain));
static_assert(isSame(kAudioHardwarePropertyDevices, ::kAudioHardwarePropertyDevices));
static_assert(isSame(kAudioHardwarePropertyTranslateUIDToDevice,
                     ::kAudioHardwarePropertyTranslateUIDToDevice));
static_assert(isSame(kAudioHardwarePropertyDefaultOutputDevice, ::kAudioHardwarePropertyDefaultOutputDevice));
static_assert(isSame(kAudioHardwarePropertyDefaultSystemOutputDevice,
                     ::kAudioHardwarePropertyDefaultSystemOutputDevice));
static_assert(isSame(kAudioHardwarePropertyServiceRestarted, ::kAudioHardwarePropertyServiceRestarted));
static_assert(isSame(kAudioObjectPropertyName, ::kAudioObjectPropertyName));
static_assert(isSame(kAudioObjectPropertyManufacturer, ::kAudioObjectPropertyManufacturer));
static_assert(isSame(kAudioDevicePropertyDeviceUID, ::kAudioDevicePropertyDeviceUID));
static_assert(isSame(kAudioDevicePropertyTransportType, ::kAudioDevicePropertyTransportType));
static_assert(isSame(kAudioDevicePropertyLatency, ::kAudioDevicePropertyLatency));
static_assert(isSame(kAudioDevicePropertySafetyOffset, ::kAudioDevicePropertySafetyOffset));
static_assert(isSame(kAudioDevicePropertyStreamConfiguration, ::kAudioDevicePropertyStreamConfiguration));
static_assert(isSame(kAudioDevicePropertyDeviceIsAlive, ::kAudioDevicePropertyDeviceIsAlive));
static_assert(isSame(kAudioDevicePropertyIsHidden, ::kAudioDevicePropertyIsHidden));
static_assert(isSame(kAudioDevicePropertyDeviceIsRunningSomewhere,
                     ::kAudioDevicePropertyDeviceIsRunningSomewhere));
static_assert(isSame(kAudioDevicePropertyNominalSampleRate, ::kAudioDevicePropertyNominalSampleRate));
static_assert(isSame(kAudioDevicePropertyAvailableNominalSampleRates,
                     ::kAudioDevicePropertyAvailableNominalSampleRates));
static_assert(isSame(kAudioDevicePropertyVolumeScalar, ::kAudioDevicePropertyVolumeScalar));
static_assert(isSame(kAudioDevicePropertyMute, ::kAudioDevicePropertyMute));
static_assert(isSame(kAudioHardwareServiceDeviceProperty_VirtualMainVolume,
                     ::kAudioHardwareServiceDeviceProperty_VirtualMainVolume));
static_assert(isSame(kAudioDevicePropertyDeviceCanBeDefaultDevice,
                     ::kAudioDevicePropertyDeviceCanBeDefaultDevice));
static_assert(isSame(kAudioDevicePropertyDeviceCanBeDefaultSystemDevice,
                     ::kAudioDevicePropertyDeviceCanBeDefaultSystemDevice));
static_assert(isSame(kAudioAggregateDevicePropertyComposition, ::kAudioAggregateDevicePropertyComposition));
static_assert(isSame(kAudioAggregateDevicePropertyFullSubDeviceList,
                     ::kAudioAggregateDevicePropertyFullSubDeviceList));
static_assert(isSame(kAudioAggregateDevicePropertyActiveSubDeviceList,
                     ::kAudioAggregateDevicePropertyActiveSubDeviceList));
static_assert(isSame(kAudioAggregateDevicePropertyMainSubDevice,
                     ::kAudioAggregateDevicePropertyMainSubDevice));
static_assert(isSame(kAudioSubDevicePropertyDriftCompensation, ::kAudioSubDevicePropertyDriftCompensation));
static_assert(isSame(kAudioObjectPropertyScopeGlobal, ::kAudioObjectPropertyScopeGlobal));
static_assert(isSame(kAudioObjectPropertyScopeInput, ::kAudioObjectPropertyScopeInput));
static_assert(isSame(kAudioObjectPropertyScopeOutput, ::kAudioObjectPropertyScopeOutput));
static_assert(isSame(kAudioHardwareNotRunningError, ::kAudioHardwareNotRunningError));
static_assert(isSame(kAudioHardwareUnspecifiedError, ::kAudioHardwareUnspecifiedError));
static_assert(isSame(kAudioHardwareUnknownPropertyError, ::kAudioHardwareUnknownPropertyError));
static_assert(isSame(kAudioHardwareBadPropertySizeError, ::kAudioHardwareBadPropertySizeError));
static_assert(isSame(kAudioHardwareIllegalOperationError, ::kAudioHardwareIllegalOperationError));
static_assert(isSame(kAudioHardwareBadObjectError, ::kAudioHardwareBadObjectError));
static_assert(isSame(kAudioHardwareBadDeviceError, ::kAudioHardwareBadDeviceError));
static_assert(isSame(kAudioHardwareBadStreamError, ::kAudioHardwareBadStreamError));
static_assert(isSame(kAudioHardwareUnsupportedOperationError, ::kAudioHardwareUnsupportedOperationError));
static_assert(isSame(kAudioHardwareNotReadyError, ::kAudioHardwareNotReadyError));
static_assert(isSame(kAudioDeviceUnsupportedFormatError, ::kAudioDeviceUnsupportedFormatError));
static_assert(isSame(kAudioDevicePermissionsError, ::kAudioDevicePermissionsError));
static_assert(isSame(kAudioDeviceTransportTypeBuiltIn, ::kAudioDeviceTransportTypeBuiltIn));
static_assert(isSame(kAudioDeviceTransportTypeAggregate, ::kAudioDeviceTransportTypeAggregate));
static_assert(isSame(kAudioDeviceTransportTypeAutoAggregate, ::kAudioDeviceTransportTypeAutoAggregate));
static_assert(isSame(kAudioDeviceTransportTypeVirtual, ::kAudioDeviceTransportTypeVirtual));
static_assert(isSame(kAudioDeviceTransportTypePCI, ::kAudioDeviceTransportTypePCI));
static_assert(isSame(kAudioDeviceTransportTypeUSB, ::kAudioDeviceTransportTypeUSB));
static_assert(isSame(kAudioDeviceTransportTypeFireWire, ::kAudioDeviceTransportTypeFireWire));
static_assert(isSame(kAudioDeviceTransportTypeBluetooth, ::kAudioDeviceTransportTypeBluetooth));
static_assert(isSame(kAudioDeviceTransportTypeBluetoothLE, ::kAudioDeviceTransportTypeBluetoothLE));
static_assert(isSame(kAudioDeviceTransportTypeHDMI, ::kAudioDeviceTransportTypeHDMI));
static_assert(isSame(kAudioDeviceTransportTypeDisplayPort, ::kAudioDeviceTransportTypeDisplayPort));
static_assert(isSame(kAudioDeviceTransportTypeAirPlay, ::kAudioDeviceTransportTypeAirPlay));
static_assert(isSame(kAudioDeviceTransportTypeAVB, ::kAudioDeviceTransportTypeAVB));
static_assert(isSame(kAudioDeviceTransportTypeThunderbolt, ::kAudioDeviceTransportTypeThunderbolt));
static_assert(isSame(kAudioDeviceTransportTypeContinuityCaptureWired,
                     ::kAudioDeviceTransportTypeContinuityCaptureWired));
static_assert(isSame(kAudioDeviceTransportTypeContinuityCaptureWireless,
                     ::kAudioDeviceTransportTypeContinuityCaptureWireless));

// Older systems still answer with it.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
static_assert(isSame(kAudioDeviceTransportTypeContinuityCapture,
                     ::kAudioDeviceTransportTypeContinuityCapture));
#pragma clang diagnostic pop

static_assert(CompositionKey::uid == kAudioAggregateDeviceUIDKey);
static_assert(CompositionKey::name == kAudioAggregateDeviceNameKey);
static_assert(CompositionKey::subDevices == kAudioAggregateDeviceSubDeviceListKey);
static_assert(CompositionKey::mainSubDevice == kAudioAggregateDeviceMainSubDeviceKey);
static_assert(CompositionKey::isPrivate == kAudioAggregateDeviceIsPrivateKey);
static_assert(CompositionKey::isStacked == kAudioAggregateDeviceIsStackedKey);
static_assert(CompositionKey::driftCompensation == kAudioSubDeviceDriftCompensationKey);
static_assert(CompositionKey::uid == kAudioSubDeviceUIDKey);

} // namespace

} // namespace velto
