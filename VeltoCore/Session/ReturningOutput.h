// isReturningOutput: whether the system may have switched to the output by itself, because it just came back.
#pragma once

#include "VeltoCore/Devices/AudioDeviceManager.h"
#include "VeltoCore/Session/SessionUIDs.h"

#include <string>

namespace velto {

/// True for an output of the session for 15 seconds after it came back.
inline bool isReturningOutput(const std::string& uid, const SessionUIDs& session,
                              const AudioDeviceManager& deviceManager) {
    constexpr double seconds = 15;
    return session.contains(uid) && deviceManager.wasRecentlyConnected(uid, seconds);
}

} // namespace velto
