// FallbackOutput: tells somebody's choice of an output from what the system does by itself while our
// aggregate isn't there.
//
// A part of SystemOutputs and of RememberedPair; main actor only. By itself a system replaces an output that
// has gone, and switches to one that has come back. What was the default output before the session is where
// sound belongs anyhow.
#pragma once

#include "VeltoCore/Devices/AudioDeviceManager.h"
#include "VeltoCore/Session/SessionUIDs.h"

#include <string>

namespace velto {

class FallbackOutput {
  public:
    /// What the devices show as the default output now is nobody's choice.
    FallbackOutput(const AudioDeviceManager& deviceManager, SessionUIDs session);

    /// Whether somebody made that the default output since. What is nobody's choice is followed.
    bool isChoice(const std::string& uid);

  private:
    const AudioDeviceManager& deviceManager_;
    SessionUIDs session_;
    /// As last seen; empty for none.
    std::string uid_;
};

} // namespace velto
