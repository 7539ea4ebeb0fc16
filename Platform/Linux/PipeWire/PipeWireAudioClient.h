// PipeWireAudioClient: the audio hardware as PipeWire and its session manager show it.
//
// A device is a node of the server, its UID the node's name, its ID the node's serial. Owned by the program's
// root, used on the main actor, where its loop is served; no thread of its own touches a device. Survives the
// server: while there is none, or before it has told all it has, nothing is answered ('stop'). While a server
// that is connected hangs, reads go on telling what was last heard, and what has to wait for it fails with
// 'stop' after half a second, once; volumes wait for nothing. What Linux has no equivalent for answers as
// absent.
#pragma once

#include "Platform/Linux/PipeWire/PipeWireAggregateLifetime.h"
#include "Platform/Linux/PipeWire/PipeWireAggregates.h"
#include "Platform/Linux/PipeWire/PipeWireConnection.h"
#include "Platform/Linux/PipeWire/PipeWireGraph.h"
#include "Platform/Linux/PipeWire/PipeWireNews.h"
#include "Platform/Linux/PipeWire/PipeWireSystemOutputs.h"
#include "Platform/Linux/PipeWire/PipeWireVolumeWrites.h"
#include "Platform/POSIX/FileDescriptorWatcher.h"
#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/CoreAudio/CoreAudioClient.h"
#include "VeltoCore/Services/ApplicationHost.h"

#include <optional>
#include <string>
#include <vector>

namespace velto {

class PipeWireAudioClient final : public CoreAudioClient, private PipeWireConnection::Delegate {
  public:
    /// Connects, and knows all devices when it returns; without a server, or with one that doesn't answer, it
    /// goes on trying. `remote` names the server's socket or is its absolute path; empty for the user's own.
    PipeWireAudioClient(MainActor& actor, FileDescriptorWatcher& watcher, const std::string& remote = {});
    ~PipeWireAudioClient() override;

    bool isConnected() const noexcept { return connection_.isConnected(); }
    /// The versions of server and session manager, under their names, for who looks for a fault.
    std::vector<ApplicationHost::SystemDetail> versions() const;
    /// Returns when the server has answered everything that was asked of it, at the latest after half a
    /// second: false then.
    bool settle() { return connection_.roundTrip(); }
    /// Listeners that are registered and not yet removed.
    std::size_t listenerCount() const noexcept { return news_.listeners().count(); }

    bool isAnswering() const noexcept override { return hasHeard() && !connection_.isSilent(); }
    bool isServiceThere() const noexcept override { return connection_.isConnected(); }
    Subscription observeServiceLoss(std::function<void()> handler) override {
        return lossObservers_.observe(std::move(handler));
    }
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
    bool supportsOutputDelays() const noexcept override { return true; }
    void setOutputDelays(AudioObjectID aggregate, const OutputDelays& milliseconds) override;
    void playSweeps(AudioObjectID aggregate, const std::string& rising, const std::string& falling,
                    double peak) override;
    void endSweeps(AudioObjectID aggregate) noexcept override;
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
    void connectionMade(pw_core* core, pw_registry* registry) override;
    void connectionLost() override;
    void connectionAnswers() override;

    /// The device as others may see it; null for one that isn't there.
    PipeWireNode* visible(AudioObjectID device) const noexcept;
    /// The same, but throws '!dev', or 'stop' while nothing can be answered.
    PipeWireNode& require(AudioObjectID device, const char* operation) const;
    PipeWireNode& requireSink(AudioObjectID device, const char* operation) const;
    AggregateDeviceDescription requireAggregate(AudioObjectID device, const char* operation) const;
    /// Whether reads can be answered, if only with what was last heard.
    bool hasHeard() const noexcept { return connection_.isConnected() && graph_.isComplete(); }
    void requireAnswer(const char* operation) const;
    /// The same for what only the session manager can answer.
    void requireSessionManager(const char* operation) const;

    void delaysLost(const std::string& aggregate);
    void graphChanged();

    PipeWireConnection connection_;
    PipeWireGraph graph_;
    PipeWireAggregates aggregates_;
    PipeWireSystemOutputs outputs_;
    PipeWireAggregateLifetime aggregateLifetime_;
    PipeWireVolumeWrites volumeWrites_;
    PipeWireNews news_;
    ObserverList lossObservers_;
};

} // namespace velto
