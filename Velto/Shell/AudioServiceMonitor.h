// AudioServiceMonitor: takes up the work again when the audio service was restarted, or answers again.
//
// Owned by the root of the object graph; main actor only. A restarted service knows none of the listeners of
// before and gives every device another object ID: what listens is made anew, then all is as after a wake.
#pragma once

#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/CoreAudio/CoreAudioClient.h"
#include "VeltoCore/CoreAudio/PropertyListenerToken.h"
#include "VeltoCore/Devices/AudioDeviceManager.h"
#include "VeltoCore/Observation/Lifetime.h"
#include "VeltoCore/Session/DualOutputCoordinator.h"
#include "VeltoCore/Volume/DeviceVolumeController.h"

namespace velto {

class AudioServiceMonitor {
  public:
    /// All must outlive the monitor.
    AudioServiceMonitor(CoreAudioClient& client, AudioDeviceManager& deviceManager,
                        DeviceVolumeController& volumeController, DualOutputCoordinator& coordinator,
                        MainActor& actor);
    AudioServiceMonitor(const AudioServiceMonitor&) = delete;
    AudioServiceMonitor& operator=(const AudioServiceMonitor&) = delete;
    /// A listener still registered stays so, and is harmless from then on.
    ~AudioServiceMonitor();

    /// Nothing when it listens already. A failure is only logged.
    void start();
    /// Nothing when it doesn't listen.
    void stop();
    bool isListening() const noexcept { return token_ != nullptr; }

  private:
    void handleRestart();

    CoreAudioClient& client_;
    AudioDeviceManager& deviceManager_;
    DeviceVolumeController& volumeController_;
    DualOutputCoordinator& coordinator_;
    MainActor& actor_;
    PropertyListenerTokenRef token_;
    Lifetime lifetime_;
};

} // namespace velto
