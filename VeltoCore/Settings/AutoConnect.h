// AutoConnect: which preset starts by itself when the devices change.
//
// Only what comes is a reason to start: what is there at launch, or when the devices can be read for the
// first time, is nothing new. Main actor only. Whether anything may be started now is for its owner to say.
#pragma once

#include "VeltoCore/Devices/AudioDeviceManager.h"
#include "VeltoCore/Settings/AudioPreset.h"
#include "VeltoCore/Settings/PreferencesManager.h"

#include <optional>
#include <set>
#include <string>

namespace velto {

class AutoConnect {
  public:
    /// Both must outlive it.
    AutoConnect(const PreferencesManager& preferences, const AudioDeviceManager& deviceManager)
        : preferences_(preferences), deviceManager_(deviceManager) {}

    /// At launch.
    void begin() { known_ = deviceManager_.knownUIDs(); }
    /// At each change of the devices, also where nothing may be started; and when a session has ended, whose
    /// end may have been the first to see one.
    void devicesChanged();
    /// The first preset whose outputs that change has made complete; none where the user wants none started.
    std::optional<AudioPreset> due() const;

  private:
    const PreferencesManager& preferences_;
    const AudioDeviceManager& deviceManager_;
    /// Absent as long as the devices could never be read.
    std::optional<std::set<std::string>> known_;
    /// Before the last change.
    std::set<std::string> previous_;
};

} // namespace velto
