// The platform's numeric vocabulary: object IDs, property addresses, selectors, scopes, transport codes,
// statuses.
//
// The values are those of Apple's public headers, so that logs and stored records read the same on every
// system. Other platforms translate to and from them.
#pragma once

#include <compare>
#include <cstdint>

namespace velto {

using AudioObjectID = std::uint32_t;
using OSStatus = std::int32_t;
using AudioObjectPropertySelector = std::uint32_t;
using AudioObjectPropertyScope = std::uint32_t;
using AudioObjectPropertyElement = std::uint32_t;
using AudioDeviceTransportType = std::uint32_t;

/// Four characters as one number, the first in the highest byte.
consteval std::uint32_t fourCharCode(const char (&text)[5]) {
    std::uint32_t code = 0;
    for (int i = 0; i < 4; ++i)
        code = (code << 8) | static_cast<unsigned char>(text[i]);
    return code;
}

/// Which property of an object: what, on which side (global, input, output), of which element (0 = main).
struct AudioObjectPropertyAddress {
    AudioObjectPropertySelector mSelector = 0;
    AudioObjectPropertyScope mScope = 0;
    AudioObjectPropertyElement mElement = 0;
    friend auto operator<=>(const AudioObjectPropertyAddress&, const AudioObjectPropertyAddress&) = default;
};

inline constexpr AudioObjectID kAudioObjectUnknown = 0;
inline constexpr AudioObjectID kAudioObjectSystemObject = 1;
inline constexpr AudioObjectPropertyElement kAudioObjectPropertyElementMain = 0;
inline constexpr OSStatus noErr = 0;

// Properties
inline constexpr AudioObjectPropertySelector kAudioHardwarePropertyDevices = fourCharCode("dev#");
inline constexpr AudioObjectPropertySelector kAudioHardwarePropertyTranslateUIDToDevice =
    fourCharCode("uidd");
inline constexpr AudioObjectPropertySelector kAudioHardwarePropertyDefaultOutputDevice = fourCharCode("dOut");
inline constexpr AudioObjectPropertySelector kAudioHardwarePropertyDefaultSystemOutputDevice =
    fourCharCode("sOut");
inline constexpr AudioObjectPropertySelector kAudioHardwarePropertyServiceRestarted = fourCharCode("srst");
inline constexpr AudioObjectPropertySelector kAudioObjectPropertyName = fourCharCode("lnam");
inline constexpr AudioObjectPropertySelector kAudioObjectPropertyManufacturer = fourCharCode("lmak");
inline constexpr AudioObjectPropertySelector kAudioDevicePropertyDeviceUID = fourCharCode("uid ");
inline constexpr AudioObjectPropertySelector kAudioDevicePropertyTransportType = fourCharCode("tran");
inline constexpr AudioObjectPropertySelector kAudioDevicePropertyLatency = fourCharCode("ltnc");
inline constexpr AudioObjectPropertySelector kAudioDevicePropertySafetyOffset = fourCharCode("saft");
inline constexpr AudioObjectPropertySelector kAudioDevicePropertyStreamConfiguration = fourCharCode("slay");
inline constexpr AudioObjectPropertySelector kAudioDevicePropertyDeviceIsAlive = fourCharCode("livn");
inline constexpr AudioObjectPropertySelector kAudioDevicePropertyIsHidden = fourCharCode("hidn");
inline constexpr AudioObjectPropertySelector kAudioDevicePropertyDeviceIsRunningSomewhere =
    fourCharCode("gone");
inline constexpr AudioObjectPropertySelector kAudioDevicePropertyNominalSampleRate = fourCharCode("nsrt");
inline constexpr AudioObjectPropertySelector kAudioDevicePropertyAvailableNominalSampleRates =
    fourCharCode("nsr#");
inline constexpr AudioObjectPropertySelector kAudioDevicePropertyVolumeScalar = fourCharCode("volm");
inline constexpr AudioObjectPropertySelector kAudioDevicePropertyMute = fourCharCode("mute");
inline constexpr AudioObjectPropertySelector kAudioHardwareServiceDeviceProperty_VirtualMainVolume =
    fourCharCode("vmvc");
inline constexpr AudioObjectPropertySelector kAudioDevicePropertyDeviceCanBeDefaultDevice =
    fourCharCode("dflt");
inline constexpr AudioObjectPropertySelector kAudioDevicePropertyDeviceCanBeDefaultSystemDevice =
    fourCharCode("sflt");
inline constexpr AudioObjectPropertySelector kAudioAggregateDevicePropertyComposition = fourCharCode("acom");
inline constexpr AudioObjectPropertySelector kAudioAggregateDevicePropertyFullSubDeviceList =
    fourCharCode("grup");
inline constexpr AudioObjectPropertySelector kAudioAggregateDevicePropertyActiveSubDeviceList =
    fourCharCode("agrp");
inline constexpr AudioObjectPropertySelector kAudioAggregateDevicePropertyMainSubDevice =
    fourCharCode("amst");
inline constexpr AudioObjectPropertySelector kAudioSubDevicePropertyDriftCompensation = fourCharCode("drft");
/// Velto's own, of an aggregate: its outputs have lost the delays that were set.
inline constexpr AudioObjectPropertySelector kVeltoAggregatePropertyOutputDelaysLost = fourCharCode("vdll");

// Scopes
inline constexpr AudioObjectPropertyScope kAudioObjectPropertyScopeGlobal = fourCharCode("glob");
inline constexpr AudioObjectPropertyScope kAudioObjectPropertyScopeInput = fourCharCode("inpt");
inline constexpr AudioObjectPropertyScope kAudioObjectPropertyScopeOutput = fourCharCode("outp");

// Statuses
inline constexpr OSStatus kAudioHardwareNotRunningError = static_cast<OSStatus>(fourCharCode("stop"));
inline constexpr OSStatus kAudioHardwareUnspecifiedError = static_cast<OSStatus>(fourCharCode("what"));
inline constexpr OSStatus kAudioHardwareUnknownPropertyError = static_cast<OSStatus>(fourCharCode("who?"));
inline constexpr OSStatus kAudioHardwareBadPropertySizeError = static_cast<OSStatus>(fourCharCode("!siz"));
inline constexpr OSStatus kAudioHardwareIllegalOperationError = static_cast<OSStatus>(fourCharCode("nope"));
inline constexpr OSStatus kAudioHardwareBadObjectError = static_cast<OSStatus>(fourCharCode("!obj"));
inline constexpr OSStatus kAudioHardwareBadDeviceError = static_cast<OSStatus>(fourCharCode("!dev"));
inline constexpr OSStatus kAudioHardwareBadStreamError = static_cast<OSStatus>(fourCharCode("!str"));
inline constexpr OSStatus kAudioHardwareUnsupportedOperationError =
    static_cast<OSStatus>(fourCharCode("unop"));
inline constexpr OSStatus kAudioHardwareNotReadyError = static_cast<OSStatus>(fourCharCode("nrdy"));
inline constexpr OSStatus kAudioDeviceUnsupportedFormatError = static_cast<OSStatus>(fourCharCode("!dat"));
inline constexpr OSStatus kAudioDevicePermissionsError = static_cast<OSStatus>(fourCharCode("!hog"));

// Transports
inline constexpr AudioDeviceTransportType kAudioDeviceTransportTypeBuiltIn = fourCharCode("bltn");
inline constexpr AudioDeviceTransportType kAudioDeviceTransportTypeAggregate = fourCharCode("grup");
inline constexpr AudioDeviceTransportType kAudioDeviceTransportTypeAutoAggregate = fourCharCode("fgrp");
inline constexpr AudioDeviceTransportType kAudioDeviceTransportTypeVirtual = fourCharCode("virt");
inline constexpr AudioDeviceTransportType kAudioDeviceTransportTypePCI = fourCharCode("pci ");
inline constexpr AudioDeviceTransportType kAudioDeviceTransportTypeUSB = fourCharCode("usb ");
inline constexpr AudioDeviceTransportType kAudioDeviceTransportTypeFireWire = fourCharCode("1394");
inline constexpr AudioDeviceTransportType kAudioDeviceTransportTypeBluetooth = fourCharCode("blue");
inline constexpr AudioDeviceTransportType kAudioDeviceTransportTypeBluetoothLE = fourCharCode("blea");
inline constexpr AudioDeviceTransportType kAudioDeviceTransportTypeHDMI = fourCharCode("hdmi");
inline constexpr AudioDeviceTransportType kAudioDeviceTransportTypeDisplayPort = fourCharCode("dprt");
inline constexpr AudioDeviceTransportType kAudioDeviceTransportTypeAirPlay = fourCharCode("airp");
inline constexpr AudioDeviceTransportType kAudioDeviceTransportTypeAVB = fourCharCode("eavb");
inline constexpr AudioDeviceTransportType kAudioDeviceTransportTypeThunderbolt = fourCharCode("thun");
inline constexpr AudioDeviceTransportType kAudioDeviceTransportTypeContinuityCaptureWired =
    fourCharCode("ccwd");
inline constexpr AudioDeviceTransportType kAudioDeviceTransportTypeContinuityCaptureWireless =
    fourCharCode("ccwl");
inline constexpr AudioDeviceTransportType kAudioDeviceTransportTypeContinuityCapture = fourCharCode("ccap");

} // namespace velto
