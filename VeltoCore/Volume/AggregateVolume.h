// AggregateVolume: the volume and mute that an aggregate itself has, kept as the master volume and mute of
// the outputs that it plays to.
//
// On some platforms an aggregate has controls of its own, and they are what the desktop's volume keys and
// mixers act on. They make no difference to the sound; who changes them turns the outputs, and what changes
// at an output is shown by them. Where an aggregate has none there is nothing to do.
//
// No loop, no jitter: only somebody's change goes from one side to the other. What this writes and hears
// again is no change, nor is what the hardware makes of a volume.
//
// A part of DeviceVolumeController; main actor only.
#pragma once

#include "VeltoCore/CoreAudio/CoreAudioClient.h"
#include "VeltoCore/Observation/Lifetime.h"
#include "VeltoCore/Observation/Observable.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace velto {

class DeviceVolumeController;

class AggregateVolume {
  public:
    /// Both must outlive it.
    AggregateVolume(CoreAudioClient& client, DeviceVolumeController& controller);
    AggregateVolume(const AggregateVolume&) = delete;
    AggregateVolume& operator=(const AggregateVolume&) = delete;

    /// Which aggregate plays to the controller's devices; none for 0. The devices' volumes and mutes are what
    /// a new one is set from.
    void follow(AudioObjectID aggregate);
    AudioObjectID aggregate() const noexcept { return aggregate_; }

  private:
    struct Controls {
        float volume = 0;
        bool isMuted = false;
    };

    void listen();
    void aggregateChanged();
    void devicesAdjusted();
    void setMuted(bool isMuted);
    /// What the aggregate says; none when it can't be read.
    std::optional<Controls> read() const;
    /// What the devices say, and the aggregate is to show.
    Controls ofDevices() const;
    void show(Controls controls);
    std::set<std::string> connected() const;

    CoreAudioClient& client_;
    DeviceVolumeController& controller_;
    AudioObjectID aggregate_ = kAudioObjectUnknown;
    bool hasControls_ = false;
    /// What the aggregate was last set to, or heard to be.
    Controls shown_;
    /// Devices, by UID, that muting the aggregate has muted.
    std::set<std::string> mutedHere_;
    /// Devices that were there when it was shown.
    std::set<std::string> connected_;
    /// While this writes to the devices.
    bool isTurning_ = false;
    std::vector<PropertyListenerTokenRef> tokens_;
    Subscription adjustments_;
    Lifetime lifetime_;
};

} // namespace velto
