#include "VeltoCore/CoreAudio/ErrorConversion.h"

#include <exception>

namespace velto {

AudioManagerError currentAudioManagerError() {
    try {
        throw;
    } catch (const AudioManagerError& error) {
        return error;
    } catch (...) {
        return AudioManagerError::aggregateCreationFailed(currentErrorDescription());
    }
}

std::string currentErrorDescription() {
    try {
        throw;
    } catch (const std::exception& error) {
        return error.what();
    } catch (...) {
        return "Unknown error.";
    }
}

} // namespace velto
