// SystemCoreAudioClient: the hardware on macOS, through the HAL's own functions.
//
// No state: one instance serves the whole program. Listeners are registered on the main queue, so handlers
// run on the main actor; one call already on its way when its listener is removed may still come. Never waits
// for a change to take effect, never retries.
#pragma once

#include "VeltoCore/CoreAudio/CoreAudioClient.h"

namespace velto {

class SystemCoreAudioClient final : public CoreAudioClient {
  public:
    using CoreAudioClient::addPropertyListener;

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
    PropertyListenerTokenRef addPropertyListener(AudioObjectID objectID, AudioObjectPropertySelector selector,
                                                 AudioObjectPropertyScope scope,
                                                 AudioObjectPropertyElement element,
                                                 PropertyListenerHandler handler) override;
    void removePropertyListener(const PropertyListenerTokenRef& token) noexcept override;
};

} // namespace velto
