// PipeWireFailure: the one way in which the client's operations fail: said in the log, then thrown.
#pragma once

#include "VeltoCore/CoreAudio/CoreAudioTypes.h"

#include <string_view>

namespace velto {

/// Logs "LABEL failed: TEXT OF THE STATUS", then throws AudioManagerError::coreAudioError(status).
[[noreturn]] void failPipeWireCall(OSStatus status, std::string_view label);

} // namespace velto
