#include "Platform/Linux/PipeWire/PipeWireFailure.h"

#include "VeltoCore/CoreAudio/AudioManagerError.h"
#include "VeltoCore/CoreAudio/CoreAudioStatus.h"
#include "VeltoCore/Services/LoggingService.h"

namespace velto {

void failPipeWireCall(OSStatus status, std::string_view label) {
    LoggingService::audioDevices.error("{} failed: {}", label, coreAudioDescription(status));
    throw AudioManagerError::coreAudioError(status);
}

} // namespace velto
