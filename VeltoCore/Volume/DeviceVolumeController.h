// DeviceVolumeController: volume and mute of each output that plays, and one master volume over them.
//
// Owned by the root of the object graph; main actor only. It mirrors the hardware's controls of the tracked
// devices, follows changes made elsewhere, and writes the user's changes back. It never throws: a write that
// fails is logged and leaves the state as it was. Its owner calls stopTracking() before letting it go; the
// destructor leaves listeners registered, harmless from then on.
#pragma once

#include "VeltoCore/CoreAudio/AudioOutputDevice.h"
#include "VeltoCore/CoreAudio/AudioTransportType.h"
#include "VeltoCore/CoreAudio/CoreAudioClient.h"
#include "VeltoCore/CoreAudio/PropertyListenerToken.h"
#include "VeltoCore/Observation/Lifetime.h"
#include "VeltoCore/Observation/Observable.h"
#include "VeltoCore/Volume/AggregateVolume.h"
#include "VeltoCore/Volume/DeviceAudioSettings.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

struct DeviceVolumeState {
    std::string uid;
    std::string name;
    AudioTransportType transportType;
    /// As last read or written: from 0 to 1, above it where somebody else amplifies; 0 while it was never
    /// read.
    float volume = 0;
    /// As last read or written.
    bool isMuted = false;
    bool supportsVolume = false;
    bool supportsMute = false;
    /// False when there was no such device at the last look.
    bool isConnected = false;

    const std::string& id() const noexcept { return uid; }
    friend bool operator==(const DeviceVolumeState&, const DeviceVolumeState&) = default;
};

class DeviceVolumeController {
  public:
    using Settings = std::map<std::string, DeviceAudioSettings>; // by UID

    /// The client must outlive the controller.
    explicit DeviceVolumeController(CoreAudioClient& client);
    DeviceVolumeController(const DeviceVolumeController&) = delete;
    DeviceVolumeController& operator=(const DeviceVolumeController&) = delete;
    ~DeviceVolumeController();

    /// Tracks these devices and no others, and reads them anew, also those tracked before. Where the
    /// aggregate that plays to them has a volume of its own, that is their master volume (AggregateVolume).
    void track(std::vector<AudioOutputDevice> devices, AudioObjectID aggregate = kAudioObjectUnknown);
    void stopTracking();
    /// Listens to the tracked devices anew, and reads them: after the audio service was restarted.
    void renewListeners();

    /// One for each tracked device, in tracking order.
    const std::vector<DeviceVolumeState>& states() const noexcept { return states_.value(); }
    std::optional<DeviceVolumeState> state(std::string_view forUID) const;
    /// Calls the handler when the states have really changed, whatever the reason.
    Subscription observeStates(std::function<void()> handler) { return states_.observe(std::move(handler)); }
    /// Calls the handler once after connected devices' volume or mute were changed, by setters here or by
    /// someone else: not for what track() reads, nor for what apply() writes, nor for what the hardware makes
    /// of a volume that was written.
    Subscription observeAdjustments(std::function<void()> handler) {
        return adjustments_.observe(std::move(handler));
    }

    /// Clamped to 0…1. Nothing for a device that is not tracked or not there.
    void setVolume(float volume, std::string_view forUID);
    /// Nothing for a device that is not tracked or not there.
    void setMuted(bool isMuted, std::string_view forUID);

    /// Does several changes of which those who observe adjustments are told once, as of one.
    void together(const std::function<void()>& change);

    /// The loudest volume among connected devices with a volume control; 0 when there is none.
    float masterVolume() const noexcept;
    bool supportsMasterVolume() const noexcept;
    /// Brings the loudest device to the target, clamped to 0…1, and the others along in proportion; from
    /// silence all of them to the target.
    void setMasterVolume(float target);

    /// What a preset would remember of the connected devices: volumes as they were asked for, where the
    /// hardware has nothing but rounded them; delays are absent.
    Settings currentSettings() const;
    /// Writes back what is given. Devices that are not tracked or not connected, and controls that a device
    /// doesn't have, are skipped.
    void apply(const Settings& settings);

  private:
    /// The listeners of one device, on the object that it was when they were added.
    struct Listening {
        AudioObjectID deviceID = kAudioObjectUnknown;
        std::vector<PropertyListenerTokenRef> tokens;
    };
    /// A volume that was written, and that nobody has changed since.
    struct Asked {
        float volume = 0;
        /// The hardware's before.
        float previous = 0;
        /// What the hardware has made of it; none before it told.
        std::optional<float> echo;
    };
    using AddListener = PropertyListenerTokenRef (CoreAudioClient::*)(AudioObjectID, PropertyListenerHandler);

    /// Finds the device again and notes its object ID; none when it isn't there.
    std::optional<AudioObjectID> resolve(const std::string& uid);
    DeviceVolumeState readState(const AudioOutputDevice& device);
    void removeListeners(const Listening& listening) noexcept;
    void listen(const AudioOutputDevice& device, AudioObjectID id);
    void addListener(Listening& listening, const AudioOutputDevice& device, AddListener add);
    void handleChange(const std::string& uid);
    /// Has the client write to a device that is there, and notes the new value in its state.
    template <class Write, class Note>
    void write(std::string_view control, const std::string& uid, Write write, Note note);
    /// Puts the state in the place of the one of that UID, and notifies. False when there is none, or no
    /// controller any more.
    bool replace(DeviceVolumeState state);
    bool isEcho(const std::string& uid, float volume);
    void tellAdjustments();

    CoreAudioClient& client_;
    Observable<std::vector<DeviceVolumeState>> states_;
    std::vector<AudioOutputDevice> tracked_;
    std::map<std::string, AudioObjectID, std::less<>> deviceIDs_; // by UID; the connected ones
    std::map<std::string, Listening, std::less<>> listening_;     // by UID
    std::map<std::string, Asked, std::less<>> asked_;             // by UID
    ObserverList adjustments_;
    /// Adjustments are noted, and told at the end of all.
    bool isChangingSeveral_ = false;
    bool hasAdjusted_ = false;
    AggregateVolume aggregateVolume_;
    Lifetime lifetime_;
};

} // namespace velto
