// RememberedPair: the two outputs of a session that had nothing left to play on, until both are back.
//
// A part of DualOutputCoordinator; main actor only; gone with the program. Somebody's choice of another
// output ends the wait.
#pragma once

#include "VeltoCore/Devices/AudioDeviceManager.h"
#include "VeltoCore/Foundation/UUID.h"
#include "VeltoCore/Session/DualOutputSession.h"
#include "VeltoCore/Session/FallbackOutput.h"
#include "VeltoCore/Volume/DeviceVolumeController.h"

#include <optional>

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
    AudioDeviceManager& deviceManager_;
    std::optional<Content> content_;
    std::optional<FallbackOutput> fallback_;
};

} // namespace velto
