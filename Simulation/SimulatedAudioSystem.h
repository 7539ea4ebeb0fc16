// SimulatedAudioSystem: a CoreAudioClient over a world of devices, for tests, benchmarks and the simulator.
//
// Owned by who plays in it; main actor only. Verbs change the world as a user, a cable or another program
// would; `faults` and `calls` make it misbehave; questions look at it without being counted as calls.
//
// It behaves as a system does. Listeners are called in later turns of the main loop. An unplugged default or
// alert output, and one whose aggregate goes, is replaced at once by the first built-in output, else the
// first one. An unplugged output leaves the aggregates it is in and takes part again when it returns. A rate
// set on an aggregate is set on its outputs. Object IDs are never given to another object.
#pragma once

#include "Simulation/PluggedDevices.h"
#include "Simulation/SimulatedCalls.h"
#include "Simulation/SimulatedDevice.h"
#include "Simulation/SimulatedFaults.h"
#include "Simulation/SimulatedListeners.h"
#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/CoreAudio/CoreAudioClient.h"
#include "VeltoCore/Observation/Observable.h"

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

class SimulatedAudioSystem final : public CoreAudioClient {
  public:
    explicit SimulatedAudioSystem(MainActor& actor);
    SimulatedAudioSystem(const SimulatedAudioSystem&) = delete;
    SimulatedAudioSystem& operator=(const SimulatedAudioSystem&) = delete;
    ~SimulatedAudioSystem() override;

    SimulatedFaults faults;
    SimulatedCalls calls;
    /// Whether outputs of an aggregate can be delayed: systems of both kinds exist.
    bool delaysOutputs = false;

    // Verbs. Devices are named by UID; a UID that fits none is a mistake of the caller: std::logic_error.

    /// A new device appears. The first one that can play becomes default and alert output.
    AudioObjectID plug(SimulatedDevice device);
    void unplug(std::string_view uid);
    /// An unplugged device comes back as it went, with the object ID it had.
    void replug(std::string_view uid);
    void replugWithAnotherID(std::string_view uid);
    /// Changes a plugged device in any way; those who listen to what differs are told.
    void change(std::string_view uid, const std::function<void(SimulatedDevice&)>& change);
    void rename(std::string_view uid, std::string name);
    void setSampleRate(std::string_view uid, double rate);
    void setSampleRates(std::string_view uid, std::vector<SampleRateRange> rates);
    void setVolume(std::string_view uid, float volume);
    void setMuted(std::string_view uid, bool isMuted);
    /// The driver of a plugged device gives up.
    void kill(std::string_view uid);
    /// Someone picks the output in the system's settings.
    void pickDefault(std::string_view uid);
    void pickAlertOutput(std::string_view uid);
    /// Someone else makes an aggregate, or an earlier run left it behind.
    AudioObjectID makeAggregate(const AggregateDeviceDescription& description);
    /// Someone deletes an aggregate in the system's settings.
    void removeAggregate(std::string_view uid);
    /// What delays the outputs of an aggregate gives up.
    void loseDelays(std::string_view aggregateUID);
    /// The audio service ends: all calls fail, all devices are gone, and listeners but those for its restart.
    void stopAudioService();
    /// The audio service is there again: devices have new object IDs, aggregates are gone.
    void startAudioService();
    void restartAudioService();
    /// The audio service stops answering: the program reads what it has last heard, and what it wants changed
    /// fails. Of what happens meanwhile nobody is told before the service answers.
    void hangAudioService();
    /// The audio service answers again.
    void resumeAudioService();
    /// The program that used this client dies: its listeners go, what it made stays.
    void programDies();

    // Questions

    bool isPlugged(std::string_view uid) const noexcept;
    /// A plugged device as it is now.
    const SimulatedDevice& device(std::string_view uid) const;
    /// Of a plugged device, or of an aggregate; 0 for none.
    AudioObjectID objectID(std::string_view uid) const noexcept;
    /// Plugged devices, in the order of the device list.
    std::vector<std::string> pluggedUIDs() const;
    /// Unplugged ones, which replug() brings back.
    std::vector<std::string> unpluggedUIDs() const;
    /// Empty when there is no output at all.
    std::string defaultOutputUID() const { return uid(defaultOutput_); }
    std::string alertOutputUID() const { return uid(alertOutput_); }
    /// Which output the system falls back to now; empty for none.
    std::string fallbackUID() const { return uid(fallback()); }
    /// All but those that are being destroyed.
    std::vector<SimulatedAggregate> aggregates() const;
    std::size_t listenerCount() const noexcept { return listeners_.count(); }
    std::vector<std::string> listeners() const { return listeners_.descriptions(); }
    /// Faults and failures that were asked for and did not come to pass.
    std::vector<std::string> unconsumedFaults() const;
    /// Called after every change of the world, in the same turn.
    Subscription observe(std::function<void()> handler) { return observers_.observe(std::move(handler)); }

    // The client

    bool isAnswering() const noexcept override { return isServiceRunning_ && !isKnownToHang_; }
    std::vector<AudioObjectID> allDeviceIDs() override;
    std::optional<AudioObjectID> deviceID(std::string_view forUID) override;
    std::string deviceUID(AudioObjectID device) override;
    std::string deviceName(AudioObjectID device) override;
    std::uint32_t transportType(AudioObjectID device) override;
    std::optional<std::string> deviceManufacturer(AudioObjectID device) noexcept override;
    std::optional<std::int64_t> outputLatencyFrames(AudioObjectID device) noexcept override;
    std::optional<std::int64_t> outputSafetyOffsetFrames(AudioObjectID device) noexcept override;
    std::int64_t outputChannelCount(AudioObjectID device) override;
    bool isAlive(AudioObjectID device) noexcept override;
    bool isHidden(AudioObjectID device) noexcept override;
    bool isRunningSomewhere(AudioObjectID device) noexcept override;
    double nominalSampleRate(AudioObjectID device) override;
    std::vector<SampleRateRange> availableSampleRates(AudioObjectID device) override;
    void setNominalSampleRate(AudioObjectID device, double sampleRate) override;
    AudioObjectID defaultOutputDeviceID() override;
    void setDefaultOutputDevice(AudioObjectID device) override;
    AudioObjectID defaultSystemOutputDeviceID() override;
    void setDefaultSystemOutputDevice(AudioObjectID device) override;
    AudioObjectID createAggregateDevice(const AggregateDeviceDescription& description) override;
    void destroyAggregateDevice(AudioObjectID device) override;
    CompositionDictionary aggregateComposition(AudioObjectID device) override;
    std::vector<std::string> aggregateFullSubDeviceUIDs(AudioObjectID device) override;
    std::vector<AudioObjectID> aggregateActiveSubDeviceIDs(AudioObjectID device) override;
    std::string aggregateMainSubDeviceUID(AudioObjectID device) override;
    bool supportsSubDeviceDriftCompensation(AudioObjectID subDevice) noexcept override;
    bool subDeviceDriftCompensation(AudioObjectID subDevice) override;
    void setSubDeviceDriftCompensation(AudioObjectID subDevice, bool enabled) override;
    bool supportsOutputDelays() const noexcept override { return delaysOutputs; }
    void setOutputDelays(AudioObjectID aggregate, const std::map<std::string, double>& milliseconds) override;
    bool supportsOutputVolume(AudioObjectID device) noexcept override;
    float outputVolume(AudioObjectID device) override;
    void setOutputVolume(AudioObjectID device, float volume) override;
    bool supportsOutputMute(AudioObjectID device) noexcept override;
    bool outputMute(AudioObjectID device) override;
    void setOutputMute(AudioObjectID device, bool isMuted) override;
    PropertyListenerTokenRef addOutputVolumeListener(AudioObjectID device,
                                                     PropertyListenerHandler handler) override;
    PropertyListenerTokenRef addOutputMuteListener(AudioObjectID device,
                                                   PropertyListenerHandler handler) override;
    using CoreAudioClient::addPropertyListener;
    PropertyListenerTokenRef addPropertyListener(AudioObjectID objectID, AudioObjectPropertySelector selector,
                                                 AudioObjectPropertyScope scope,
                                                 AudioObjectPropertyElement element,
                                                 PropertyListenerHandler handler) override;
    void removePropertyListener(const PropertyListenerTokenRef& token) noexcept override;

  private:
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
    };
    /// What the program knows of the world while the audio service hangs.
    struct LastHeard {
        PluggedDevices plugged;
        std::vector<Aggregate> aggregates;
        AudioObjectID defaultOutput;
        AudioObjectID alertOutput;
    };
    using Operation = CoreAudioOperation;

    // The world's rules (SimulatedAudioRules.cpp). Only verbs and the client publish what has changed.
    Plugged& requirePlugged(std::string_view uid);
    const SimulatedDevice& requireDevice(AudioObjectID id) const;
    const SimulatedDevice& requireControls(AudioObjectID id) const;
    const Aggregate* aggregate(AudioObjectID id) const noexcept;
    const Aggregate* aggregate(std::string_view uid) const noexcept;
    const Aggregate& requireAggregate(AudioObjectID id) const;
    const Member* member(AudioObjectID subDevice) const noexcept;
    Member& requireMember(AudioObjectID subDevice);
    std::string uid(AudioObjectID id) const;
    AudioObjectID fallback() const noexcept;
    void appear(Plugged device);
    void replace(Plugged& plugged, SimulatedDevice device);
    void replaceLostOutputs();
    bool canPlay(AudioObjectID id) const noexcept;
    void setDefaultOutput(AudioObjectID id);
    void setAlertOutput(AudioObjectID id);
    void joinAggregates(const std::string& uid);
    void leaveAggregates(const std::string& uid);
    void destroyAggregate(AudioObjectID id);
    void eraseAggregate(AudioObjectID id);
    void applySampleRate(AudioObjectID id, double rate);
    void bringBack(std::string_view uid, AudioObjectID newID);
    void after(Duration interval, std::function<void(SimulatedAudioSystem&)> work);
    void notify(AudioObjectID id, AudioObjectPropertySelector selector,
                AudioObjectPropertyScope scope = kAudioObjectPropertyScopeGlobal);
    void publish();

    // The client's plumbing (SimulatedAudioClient.cpp).
    bool isReachable() const noexcept { return isServiceRunning_ && (!isHanging_ || lastHeard_); }
    void swapWithLastHeard() noexcept;
    template <class Body>
    auto asLastHeard(Body body);
    template <class Body>
    auto perform(Operation operation, AudioObjectID object, Body body);
    template <class Value, class Body>
    Value answer(Operation operation, AudioObjectID object, Value otherwise, Body body) noexcept;
    template <class Value>
    Value answer(Operation operation, AudioObjectID device, Value SimulatedDevice::*field) noexcept;

    MainActor& actor_;
    SimulatedListeners listeners_;
    ObserverList observers_;
    PluggedDevices plugged_;
    std::map<std::string, Plugged, std::less<>> unplugged_;
    std::vector<Aggregate> aggregates_;
    AudioObjectID defaultOutput_ = kAudioObjectUnknown;
    AudioObjectID alertOutput_ = kAudioObjectUnknown;
    AudioObjectID nextID_ = 40;
    bool isServiceRunning_ = true;
    bool isHanging_ = false;
    /// Since a call got no answer.
    bool isKnownToHang_ = false;
    /// While the service hangs; none for a program that was begun meanwhile.
    std::optional<LastHeard> lastHeard_;
    std::vector<std::function<void()>> lateWork_;
    std::vector<std::pair<AudioObjectID, AudioObjectPropertyAddress>> unpublished_;
    /// Runs out with the world; timers look at it.
    std::shared_ptr<SimulatedAudioSystem*> self_;
};

} // namespace velto
