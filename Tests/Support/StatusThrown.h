// statusThrown: for tests of operations that fail with a status of the audio system.
#pragma once

#include "VeltoCore/CoreAudio/AudioManagerError.h"
#include "VeltoCore/CoreAudio/CoreAudioTypes.h"

namespace velto {

/// The status of the AudioManagerError that the operation throws, -1 for one without; 0 when it throws
/// nothing.
template <class Operation>
OSStatus statusThrown(const Operation& operation) {
    try {
        operation();
    } catch (const AudioManagerError& error) {
        return error.status().value_or(-1);
    }
    return noErr;
}

} // namespace velto
