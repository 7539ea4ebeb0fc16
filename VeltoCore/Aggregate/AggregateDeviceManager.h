// AggregateDeviceManager: creates, configures, finds and destroys the one aggregate that the program owns.
//
// Owned by the root of the object graph; main actor only; holds no state. Every aggregate of ours carries the
// same fixed UID, so one left over from an earlier run is always found, and removed before a new one is made.
// It never touches the default output.
#pragma once

#include "VeltoCore/Aggregate/AggregateDeviceInfo.h"
#include "VeltoCore/Aggregate/AudioGroup.h"
#include "VeltoCore/Aggregate/ClockStrategy.h"
#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Async/Task.h"
#include "VeltoCore/CoreAudio/AggregateDeviceDescription.h"
#include "VeltoCore/CoreAudio/CoreAudioClient.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

class AggregateDeviceManager {
  public:
    static constexpr std::string_view aggregateUID = "com.corlent.velto.aggregate";
    static constexpr std::string_view defaultName = "Velto Output";

    /// Both must outlive the manager and every task it has begun.
    AggregateDeviceManager(CoreAudioClient& client, MainActor& actor) : client_(client), actor_(actor) {}
    AggregateDeviceManager(const AggregateDeviceManager&) = delete;
    AggregateDeviceManager& operator=(const AggregateDeviceManager&) = delete;

    /// For two outputs; devices that can't form a group give `sameDeviceSelected`.
    Task<AggregateDeviceInfo> createAggregate(AudioOutputDevice first, AudioOutputDevice second,
                                              std::string name, std::optional<double> preferredSampleRate,
                                              ClockStrategy clockStrategy);
    /// Ends when the aggregate is alive and set up, or after a second all the same. Throws `deviceNotFound`
    /// before anything is changed, `incompatibleSampleRates` before anything is created,
    /// `aggregateCreationFailed`, and what the client throws otherwise. Rates and drift compensation that
    /// can't be set are only logged.
    Task<AggregateDeviceInfo> createAggregate(AudioGroup group, std::string name,
                                              std::optional<double> preferredSampleRate,
                                              ClockStrategy clockStrategy);

    /// Ends when the aggregate is gone, or after three seconds all the same. Throws `aggregateDestroyFailed`.
    Task<void> destroyAggregate(AudioObjectID deviceID);
    /// Destroys the aggregate with our UID if there is one.
    Task<void> destroyExistingAggregate();
    /// The aggregate with our UID; none also when it can't be looked up. Throws only when there is no answer.
    std::optional<AudioObjectID> existingAggregateDeviceID() const;

  private:
    using DeviceIDs = std::map<std::string, AudioObjectID>;

    DeviceIDs presentDeviceIDs(const std::vector<AudioOutputDevice>& devices);
    void applySampleRate(double rate, AudioObjectID to, const std::string& named);
    Task<AudioObjectID> createDevice(AggregateDeviceDescription description);
    Task<void> waitUntilAlive(AudioObjectID deviceID);
    void configureAfterCreation(AudioObjectID deviceID, double sampleRate, const std::string& masterUID);
    void verifyDriftCompensation(AudioObjectID deviceID, const std::string& masterUID);
    bool applyDriftCompensationFallback(AudioObjectID deviceID, const std::string& uid, bool enabled);
    Task<void> waitUntilGone();
    static AudioManagerError incompatibleError(const std::vector<AudioOutputDevice>& devices);

    CoreAudioClient& client_;
    MainActor& actor_;
};

} // namespace velto
