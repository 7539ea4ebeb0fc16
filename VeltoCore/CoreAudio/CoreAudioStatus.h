// Texts for the status codes of the audio hardware layer.
#pragma once

#include "VeltoCore/CoreAudio/CoreAudioTypes.h"

#include <cstdint>
#include <string>

namespace velto {

/// A sentence fragment for a status, such as "Bad audio device"; unlisted ones are named by their code.
std::string coreAudioDescription(OSStatus status);

/// `'abcd' (1633837924)` when all four bytes are printable ASCII, else the signed decimal number alone.
/// Takes any four-character code: a status, a selector, a transport type.
std::string fourCharCodeDescription(std::uint32_t code);
inline std::string fourCharCodeDescription(OSStatus status) {
    return fourCharCodeDescription(static_cast<std::uint32_t>(status));
}

} // namespace velto
