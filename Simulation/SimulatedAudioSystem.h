// SimulatedAudioSystem: a CoreAudioClient over a world of devices, for tests, benchmarks and the simulator.
//
// Owned by who plays in it; main actor only. It is the world (SimulatedWorld has its verbs and questions) and
// the client to it. Here is what each operation reads and changes; that it is counted, and may fail or stay
// unanswered, is for SimulatedService.
#pragma once

#include "Simulation/SimulatedService.h"
#include "VeltoCore/CoreAudio/CoreAudioClient.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

class SimulatedAudioSystem final : public CoreAudioClient, public SimulatedService {
  public:
    explicit SimulatedAudioSystem(MainActor& actor) : SimulatedService(actor) {}

    /// Whether outputs of an aggregate can be delayed: systems of both kinds exist.
    bool delaysOutputs = false;

    // The client

    bool isAnswering() const noexcept override { return isKnownToAnswer(); }
    bool isServiceThere() const noexcept override { return isServiceRunning(); }
    Subscription observeServiceLoss(std::function<void()> handler) override {
        return observeLoss(std::move(handler));
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
    bool supportsOutputDelays() const noexcept override { return delaysOutputs; }
    void setOutputDelays(AudioObjectID aggregate, const std::map<std::string, double>& milliseconds) override;
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
    /// Null where the device has no such control.
    template <class Control>
    PropertyListenerTokenRef
    addListener(Operation operation, AudioObjectID device, Control SimulatedDevice::*control,
                AudioObjectPropertySelector selector, PropertyListenerHandler handler);
};

} // namespace velto
