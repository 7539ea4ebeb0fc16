// RememberedPair: the two outputs of a session that ended because both had gone, until they are back.
//
// A part of DualOutputCoordinator; main actor only; gone with the program. Somebody's choice of another
// output ends the wait.
#pragma once

#include "VeltoCore/Devices/AudioDeviceManager.h"
#include "VeltoCore/Foundation/UUID.h"
#include "VeltoCore/Session/DualOutputSession.h"
#include "VeltoCore/Volume/DeviceVolumeController.h"

#include <optional>
#include <string>

namespace velto {

class RememberedPair {
  public:
    /// What to start again.
    struct Content {
        DualOutputSession session;
        std::optional<UUID> presetID;
        DeviceVolumeController::Settings settings;
    };

    explicit RememberedPair(AudioDeviceManager& deviceManager) : deviceManager_(deviceManager) {}

    /// When the session has ended.
    void remember(Content content);
    void forget() noexcept { content_.reset(); }
    /// After each change of the devices: the pair when both are back, which is forgotten then.
    std::optional<Content> takeWhenBack();

  private:
    bool wasChosen(const AudioOutputDevice& output) const;

    AudioDeviceManager& deviceManager_;
    std::optional<Content> content_;
    /// As last seen; empty for none.
    std::string defaultUID_;
};

} // namespace velto
