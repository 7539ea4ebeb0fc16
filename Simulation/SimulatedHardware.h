// SimulatedHardware: the devices and aggregates of the simulated world, the outputs that are chosen, and what
// follows from a change of them.
//
// Part of SimulatedWorld. A value: a copy is what somebody knew at some time. It notes which properties
// change and tells nobody. An unplugged default or alert output, and one whose aggregate goes, is replaced at
// once by the first built-in output, else the first one. An unplugged output leaves the aggregates it is in
// and takes part again when it returns. A rate set on an aggregate is set on its outputs. Object IDs are
// never given to another object.
#pragma once

#include "Simulation/PluggedDevices.h"
#include "Simulation/SimulatedDevice.h"
#include "Simulation/SimulatedFaults.h"
#include "VeltoCore/CoreAudio/AggregateDeviceDescription.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velto {

class SimulatedHardware {
  public:
    using Plugged = PluggedDevices::Entry;
    struct Member {
        std::string uid;
        bool driftCompensation;
        AudioObjectID subDevice; // 0 while it takes no part
    };
    struct Aggregate {
        AudioObjectID id;
        AggregateDeviceDescription description;
        std::vector<Member> members;
        double sampleRate;
        bool isAlive;
        bool isGoing; // destroyed, but lingering
        std::map<std::string, double> delays = {};
        std::optional<SimulatedSweeps> sweeps = {};
    };
    using Change = std::pair<AudioObjectID, AudioObjectPropertyAddress>;

    // Looking up. Null or 0 for none; what must be there is refused as the system does.

    const PluggedDevices& plugged() const noexcept { return plugged_; }
    const std::map<std::string, Plugged, std::less<>>& unplugged() const noexcept { return unplugged_; }
    const std::vector<Aggregate>& aggregates() const noexcept { return aggregates_; }
    const Aggregate* aggregate(AudioObjectID id) const noexcept;
    const Aggregate* aggregate(std::string_view uid) const noexcept;
    Aggregate* aggregate(AudioObjectID id) noexcept;
    const Member* member(AudioObjectID subDevice) const noexcept;
    const SimulatedDevice& requireDevice(AudioObjectID id) const;
    /// A device as far as it can have volume and mute.
    const SimulatedDevice& requireControls(AudioObjectID id) const;
    const Aggregate& requireAggregate(AudioObjectID id) const;
    const Member& requireMember(AudioObjectID subDevice) const;
    /// To be told how to play.
    Aggregate& playedAggregate(AudioObjectID id);
    /// Of an aggregate those that all its outputs can run at.
    std::vector<SampleRateRange> availableSampleRates(AudioObjectID id) const;
    AudioObjectID objectID(std::string_view uid) const noexcept;
    /// Of a device, an aggregate, or a member of one; empty for none.
    std::string uid(AudioObjectID id) const;
    AudioObjectID defaultOutput() const noexcept { return defaultOutput_; }
    AudioObjectID alertOutput() const noexcept { return alertOutput_; }
    /// Which output the system falls back to now.
    AudioObjectID fallback() const noexcept;
    bool canPlay(AudioObjectID id) const noexcept;

    // Changing

    AudioObjectID newID() noexcept { return nextID_++; }
    void plugIn(Plugged device, SimulatedFaults& faults);
    /// The device is plugged in.
    void pullOut(AudioObjectID id);
    /// Takes it out of the unplugged ones; none when it isn't one.
    std::optional<Plugged> takeUnplugged(std::string_view uid);
    /// The device is plugged in, and keeps its UID.
    void replace(std::string_view uid, SimulatedDevice device);
    void setDefaultOutput(AudioObjectID id);
    void setAlertOutput(AudioObjectID id);
    /// Refused where the UID is in use. It is alive.
    Aggregate& makeAggregate(const AggregateDeviceDescription& description, SimulatedFaults& faults);
    /// It can be found until it is erased, but is of no use.
    void letGo(AudioObjectID aggregate);
    void setAlive(AudioObjectID aggregate);
    void eraseAggregate(AudioObjectID id);
    /// The audio service forgets all of them.
    void forgetAggregates();
    void setDriftCompensation(AudioObjectID subDevice, bool isEnabled);
    void setSampleRate(AudioObjectID id, double rate);
    /// In the steps that the device has. Refused, as the mute is, where it has none.
    void setVolume(AudioObjectID device, float volume);
    void setMute(AudioObjectID device, bool isMuted);
    /// Refused unless both are the aggregate's outputs.
    void playSweeps(AudioObjectID aggregate, const std::string& rising, const std::string& falling,
                    double peak, ContinuousInstant now);
    /// Every device gets another object ID.
    void renumber();

    void note(AudioObjectID id, AudioObjectPropertySelector selector,
              AudioObjectPropertyScope scope = kAudioObjectPropertyScopeGlobal);
    /// What has changed since this was called last.
    std::vector<Change> takeChanges() { return std::exchange(changes_, {}); }

  private:
    void replace(Plugged& plugged, SimulatedDevice device);
    void replaceLostOutputs();
    void joinAggregates(const std::string& uid, SimulatedFaults& faults);
    void leaveAggregates(const std::string& uid);

    PluggedDevices plugged_;
    std::map<std::string, Plugged, std::less<>> unplugged_;
    std::vector<Aggregate> aggregates_;
    AudioObjectID defaultOutput_ = kAudioObjectUnknown;
    AudioObjectID alertOutput_ = kAudioObjectUnknown;
    AudioObjectID nextID_ = 40;
    std::vector<Change> changes_;
};

} // namespace velto
