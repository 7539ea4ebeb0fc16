// ErrorConversion: errors of any type as the core's own. For use in handlers: `catch (...)`.
#pragma once

#include "VeltoCore/CoreAudio/AudioManagerError.h"

#include <string>

namespace velto {

/// The error being handled; one of a foreign type becomes `aggregateCreationFailed` with its description.
AudioManagerError currentAudioManagerError();

/// What the error being handled says of itself.
std::string currentErrorDescription();

} // namespace velto
