// SimulatedWorld: a computer's audio devices, and those who plug, pull, pick and break them: users, cables,
// other programs.
//
// The base of SimulatedAudioSystem, which is the client's side of it; main actor only. Verbs change the
// world, `faults` make it misbehave, questions look at it. Listeners are called in later turns of the main
// loop, as a system does. While the audio service hangs, the program knows what it has heard before.
#pragma once

#include "Simulation/SimulatedHardware.h"
#include "Simulation/SimulatedListeners.h"
#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Observation/Lifetime.h"
#include "VeltoCore/Observation/Observable.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

class SimulatedWorld {
  public:
    SimulatedWorld(const SimulatedWorld&) = delete;
    SimulatedWorld& operator=(const SimulatedWorld&) = delete;

    SimulatedFaults faults;

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
    /// The program that used the client dies: its listeners go, what it made stays.
    void programDies();

    // Questions

    bool isPlugged(std::string_view uid) const noexcept { return hardware_.plugged().find(uid); }
    /// A plugged device as it is now.
    const SimulatedDevice& device(std::string_view uid) const;
    /// Of a plugged device, or of an aggregate; 0 for none.
    AudioObjectID objectID(std::string_view uid) const noexcept { return hardware_.objectID(uid); }
    /// Plugged devices, in the order of the device list.
    std::vector<std::string> pluggedUIDs() const;
    /// Unplugged ones, which replug() brings back.
    std::vector<std::string> unpluggedUIDs() const;
    /// Empty when there is no output at all.
    std::string defaultOutputUID() const { return hardware_.uid(hardware_.defaultOutput()); }
    std::string alertOutputUID() const { return hardware_.uid(hardware_.alertOutput()); }
    /// Which output the system falls back to now; empty for none.
    std::string fallbackUID() const { return hardware_.uid(hardware_.fallback()); }
    /// All but those that are being destroyed.
    std::vector<SimulatedAggregate> aggregates() const;
    std::size_t listenerCount() const noexcept { return listeners_.count(); }
    std::vector<std::string> listeners() const { return listeners_.descriptions(); }
    /// Called after every change of the world, in the same turn.
    Subscription observe(std::function<void()> handler) { return observers_.observe(std::move(handler)); }

  protected:
    explicit SimulatedWorld(MainActor& actor) : actor_(actor), listeners_(actor) {}
    ~SimulatedWorld() = default;

    // For the client. Only it and the verbs publish what has changed.

    using Work = std::function<void(SimulatedHardware&)>;

    ContinuousInstant now() const noexcept { return actor_.continuousNow(); }
    bool isHanging() const noexcept { return isHanging_; }
    bool isServiceRunning() const noexcept { return isServiceRunning_; }
    /// As far as the program can know.
    bool isKnownToAnswer() const noexcept { return isServiceRunning_ && !isKnownToHang_; }
    Subscription observeLoss(std::function<void()> handler) {
        return lossObservers_.observe(std::move(handler));
    }
    /// A call of the program got no answer.
    void noticeSilence() noexcept { isKnownToHang_ = isHanging_; }
    /// Whether reads are answered.
    bool isReachable() const noexcept { return isServiceRunning_ && (!isHanging_ || lastHeard_); }
    /// What the program knows: the world as it is, or as it last heard of it.
    SimulatedHardware& known() noexcept { return lastHeard_ ? *lastHeard_ : hardware_; }
    SimulatedListeners& propertyListeners() noexcept { return listeners_; }
    void destroyAggregate(AudioObjectID id);
    /// Done a while from now, or at once.
    void doAfter(std::optional<Duration> interval, Work work);
    /// Done when the audio service answers again.
    void doLater(Work work) { lateWork_.push_back(std::move(work)); }
    void publish();

  private:
    void requirePlugged(std::string_view uid) const;
    void bringBack(std::string_view uid, AudioObjectID newID);

    MainActor& actor_;
    SimulatedListeners listeners_;
    ObserverList observers_;
    ObserverList lossObservers_;
    SimulatedHardware hardware_;
    bool isServiceRunning_ = true;
    bool isHanging_ = false;
    bool isKnownToHang_ = false;
    /// While the service hangs; none for a program that was begun meanwhile.
    std::optional<SimulatedHardware> lastHeard_;
    std::vector<Work> lateWork_;
    Lifetime lifetime_;
};

} // namespace velto
