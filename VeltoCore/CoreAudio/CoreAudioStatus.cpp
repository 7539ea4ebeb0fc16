#include "VeltoCore/CoreAudio/CoreAudioStatus.h"

#include <algorithm>
#include <array>

namespace velto {

std::string coreAudioDescription(OSStatus status) {
    switch (status) {
    case noErr:
        return "No error";
    case kAudioDeviceUnsupportedFormatError:
        return "Unsupported audio format";
    case kAudioHardwareBadDeviceError:
        return "Bad audio device";
    case kAudioDevicePermissionsError:
        return "Audio device permissions error";
    case kAudioHardwareBadObjectError:
        return "Bad audio object";
    case kAudioHardwareBadPropertySizeError:
        return "Bad audio property size";
    case kAudioHardwareBadStreamError:
        return "Bad audio stream";
    case kAudioHardwareIllegalOperationError:
        return "Illegal audio hardware operation";
    case kAudioHardwareNotReadyError:
        return "Audio hardware is not ready";
    case kAudioHardwareNotRunningError:
        return "Audio hardware is not running";
    case kAudioHardwareUnsupportedOperationError:
        return "Unsupported audio hardware operation";
    case kAudioHardwareUnspecifiedError:
        return "Unspecified audio hardware error";
    case kAudioHardwareUnknownPropertyError:
        return "Unknown audio property";
    default:
        return "Core Audio error " + fourCharCodeDescription(status);
    }
}

std::string fourCharCodeDescription(std::uint32_t code) {
    std::array<unsigned char, 4> bytes{};
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<unsigned char>((code >> (24 - 8 * i)) & 0xFF);
    const std::string number = std::to_string(static_cast<std::int32_t>(code));
    const bool isPrintable = std::ranges::all_of(bytes, [](unsigned char b) { return b >= 32 && b <= 126; });
    return isPrintable ? "'" + std::string(bytes.begin(), bytes.end()) + "' (" + number + ")" : number;
}

} // namespace velto
