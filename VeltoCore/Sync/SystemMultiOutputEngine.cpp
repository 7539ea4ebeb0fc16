#include "VeltoCore/Sync/SystemMultiOutputEngine.h"

#include "VeltoCore/CoreAudio/AudioManagerError.h"

namespace velto {

void SystemMultiOutputEngine::apply(const SyncProfile& profile) {
    if (profile.hasCorrections()) throw AudioManagerError::syncEngineUnavailable();
}

} // namespace velto
