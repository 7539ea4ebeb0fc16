// AudioDeviceManager: the live list of output devices and the default output.
//
// Owned by the root of the object graph; main actor only. It rebuilds both whenever the hardware layer says
// that the devices or the default output changed, remembers when each device appeared, and tells those who
// registered. It lists every visible output, aggregates included: leaving those out is a matter of selection.
// It never retries by itself and never throws: the next notification or an explicit refresh() tries again.
#pragma once

#include "VeltoCore/Async/Clock.h"
#include "VeltoCore/CoreAudio/AudioOutputDevice.h"
#include "VeltoCore/CoreAudio/CoreAudioClient.h"
#include "VeltoCore/CoreAudio/PropertyListenerToken.h"
#include "VeltoCore/Foundation/Date.h"
#include "VeltoCore/Observation/Lifetime.h"
#include "VeltoCore/Observation/Observable.h"
#include "VeltoCore/Services/TextCollation.h"

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velto {

class AudioDeviceManager {
  public:
    /// Reads the devices once; observes nothing yet. All three must outlive the manager.
    AudioDeviceManager(CoreAudioClient& client, const Clock& clock, const TextCollation& collation);
    AudioDeviceManager(const AudioDeviceManager&) = delete;
    AudioDeviceManager& operator=(const AudioDeviceManager&) = delete;
    /// Listeners still registered stay so, and are harmless from then on.
    ~AudioDeviceManager();

    /// In the hardware layer's order.
    const std::vector<AudioOutputDevice>& devices() const noexcept { return devices_.value(); }
    /// Absent when it can't be read, is hidden, or has no output channels.
    const std::optional<AudioOutputDevice>& defaultOutputDevice() const noexcept {
        return defaultOutputDevice_.value();
    }

    Subscription observeDevices(std::function<void()> handler);
    Subscription observeDefaultOutputDevice(std::function<void()> handler);
    /// Calls the handler with every notification of the hardware layer, whatever it changed, after the
    /// others.
    Subscription onChange(std::function<void()> handler) {
        return changeObservers_.observe(std::move(handler));
    }

    /// Reads devices and default output again, and publishes both together. A list that can't be read leaves
    /// the old one, and without an answer so does the default output. A device of the list that lives keeps
    /// what can't be read of it now; an unreadable newcomer is left out.
    void refresh();

    /// Starts listening to the hardware layer; nothing when it listens already.
    void startObserving();
    /// Ends listening; nothing when it doesn't listen. It may start again.
    void stopObserving();
    /// For a restarted audio service: it gives out object IDs anew, and knows none of the listeners.
    void handleServiceRestart();
    /// As when the hardware layer says that something changed: for changes that it may not have told of.
    /// Nothing when it doesn't listen.
    void handleChange();

    /// What the user may choose, in display order.
    std::vector<AudioOutputDevice>
    selectableDevices(std::optional<std::string_view> excludingUID = std::nullopt) const;
    std::optional<AudioOutputDevice> device(std::string_view forUID) const;
    std::optional<AudioOutputDevice> device(AudioObjectID forID) const;
    std::set<std::string> connectedUIDs() const;
    /// The same; absent as long as the list could never be read.
    std::optional<std::set<std::string>> knownUIDs() const;
    /// Whether the device last appeared at most `within` seconds ago. Devices that were there at the start
    /// never appeared.
    bool wasRecentlyConnected(std::string_view uid, double within) const;

  private:
    std::optional<std::vector<AudioOutputDevice>> readDevices();
    std::optional<AudioOutputDevice> readDefaultOutputDevice(const std::vector<AudioOutputDevice>& devices);
    std::optional<AudioOutputDevice> makeDevice(AudioObjectID id);
    AudioOutputDevice readDevice(AudioObjectID id);
    std::optional<AudioOutputDevice> knownDevice(AudioObjectID id);
    void logChanges(const std::set<std::string>& before) const;
    void recordConnectionTimes(const std::vector<AudioOutputDevice>& devices);

    CoreAudioClient& client_;
    const Clock& clock_;
    const TextCollation& collation_;
    Observable<std::vector<AudioOutputDevice>> devices_;
    Observable<std::optional<AudioOutputDevice>> defaultOutputDevice_;
    ObserverList changeObservers_;
    std::vector<PropertyListenerTokenRef> listenerTokens_;
    /// The list as it was last read since the audio service started; none before.
    std::optional<std::vector<AudioOutputDevice>> lastRead_;
    bool hasBeenRead_ = false; // in the life of this object
    Lifetime lifetime_;
    /// The latest appearance of each device that came while the manager ran.
    std::map<std::string, Date, std::less<>> connectionTimes_;
};

} // namespace velto
