#include "VeltoCore/Devices/AudioDeviceManager.h"

#include "VeltoCore/CoreAudio/Answer.h"
#include "VeltoCore/CoreAudio/CoreAudioStatus.h"
#include "VeltoCore/Devices/DeviceSelectionRules.h"
#include "VeltoCore/Services/LoggingService.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <exception>
#include <utility>

namespace velto {

namespace {

constexpr const Logger& logger = LoggingService::audioDevices;

bool isNoAnswer(const std::exception& error) {
    const auto* known = dynamic_cast<const AudioManagerError*>(&error);
    return known && known->isNoAnswer();
}

std::optional<AudioOutputDevice> find(const std::vector<AudioOutputDevice>& devices, const auto& value,
                                      auto field) {
    const auto found = std::ranges::find(devices, value, field);
    return found == devices.end() ? std::nullopt : std::optional(*found);
}

} // namespace

AudioDeviceManager::AudioDeviceManager(CoreAudioClient& client, const Clock& clock,
                                       const TextCollation& collation)
    : client_(client), clock_(clock), collation_(collation) {
    refresh();
    connectionTimes_.clear(); // these were there before
}

AudioDeviceManager::~AudioDeviceManager() = default;

Subscription AudioDeviceManager::observeDevices(std::function<void()> handler) {
    return devices_.observe(std::move(handler));
}

Subscription AudioDeviceManager::observeDefaultOutputDevice(std::function<void()> handler) {
    return defaultOutputDevice_.observe(std::move(handler));
}

Subscription AudioDeviceManager::observeChangeCounter(std::function<void()> handler) {
    return changeCounter_.observe(std::move(handler));
}

void AudioDeviceManager::refresh() {
    auto devices = readDevices().value_or(this->devices());
    auto defaultOutputDevice = readDefaultOutputDevice(devices);
    recordConnectionTimes(devices);
    devices_.set(std::move(devices));
    defaultOutputDevice_.set(std::move(defaultOutputDevice));
    logger.debug("Enumerated {} output devices; default: {}", this->devices().size(),
                 this->defaultOutputDevice() ? this->defaultOutputDevice()->name : "none");
}

std::optional<std::vector<AudioOutputDevice>> AudioDeviceManager::readDevices() {
    try {
        std::vector<AudioOutputDevice> devices;
        for (const AudioObjectID id : client_.allDeviceIDs()) {
            if (auto device = makeDevice(id)) devices.push_back(std::move(*device));
        }
        return devices;
    } catch (const std::exception& error) {
        logger.error("Failed to read the devices: {}", error.what());
        return std::nullopt;
    }
}

std::optional<AudioOutputDevice>
AudioDeviceManager::readDefaultOutputDevice(const std::vector<AudioOutputDevice>& devices) {
    try {
        const AudioObjectID id = client_.defaultOutputDeviceID();
        if (id == kAudioObjectUnknown) return std::nullopt;
        auto device = find(devices, id, &AudioOutputDevice::deviceID);
        return device ? device : makeDevice(id);
    } catch (const std::exception& error) {
        logger.error("Failed to read default output: {}", error.what());
        return isNoAnswer(error) ? defaultOutputDevice() : std::nullopt;
    }
}

std::optional<AudioOutputDevice> AudioDeviceManager::makeDevice(AudioObjectID id) {
    try {
        if (client_.isHidden(id)) return std::nullopt;
        AudioOutputDevice device;
        device.deviceID = id;
        device.outputChannelCount = client_.outputChannelCount(id);
        if (device.outputChannelCount < 1) return std::nullopt; // input only
        device.uid = client_.deviceUID(id);
        device.name = client_.deviceName(id);
        device.transportType = AudioTransportType(answeredOr(0U, [&] { return client_.transportType(id); }));
        const double rate = answeredOr(0.0, [&] { return client_.nominalSampleRate(id); });
        device.sampleRate = std::isfinite(rate) ? rate : 0;
        device.availableSampleRates =
            answeredOr(std::vector<SampleRateRange>{}, [&] { return client_.availableSampleRates(id); });
        device.manufacturer = client_.deviceManufacturer(id);
        device.latencyFrames = client_.outputLatencyFrames(id);
        device.safetyOffsetFrames = client_.outputSafetyOffsetFrames(id);
        device.hasVolumeControl = client_.supportsOutputVolume(id);
        return device;
    } catch (const std::exception& error) {
        if (isNoAnswer(error)) throw;
        logger.debug("Left out device {}: {}", id, error.what()); // it went while it was being read
        return std::nullopt;
    }
}

void AudioDeviceManager::recordConnectionTimes(const std::vector<AudioOutputDevice>& devices) {
    const Date now = clock_.now();
    const std::set<std::string> before = connectedUIDs();
    for (const AudioOutputDevice& device : devices) {
        if (!before.contains(device.uid)) connectionTimes_.insert_or_assign(device.uid, now);
    }
}

void AudioDeviceManager::startObserving() {
    if (!listenerTokens_.empty()) return;
    constexpr std::array selectors{kAudioHardwarePropertyDevices, kAudioHardwarePropertyDefaultOutputDevice};
    for (const AudioObjectPropertySelector selector : selectors) {
        auto handler = [this, alive = std::weak_ptr(changeHandlers_)] {
            if (!alive.expired()) handleChange();
        };
        try {
            listenerTokens_.push_back(client_.addPropertyListener(
                kAudioObjectSystemObject, selector, kAudioObjectPropertyScopeGlobal, std::move(handler)));
        } catch (const std::exception& error) {
            logger.error("Could not observe {}: {}", fourCharCodeDescription(selector), error.what());
        }
    }
}

void AudioDeviceManager::stopObserving() {
    for (const PropertyListenerTokenRef& token : std::exchange(listenerTokens_, {}))
        client_.removePropertyListener(token);
}

void AudioDeviceManager::handleChange() {
    if (listenerTokens_.empty()) return; // sent before observing ended
    const std::set<std::string> before = connectedUIDs();
    refresh();
    const std::set<std::string> after = connectedUIDs();
    for (const AudioOutputDevice& device : devices()) {
        if (!before.contains(device.uid)) logger.notice("Device connected: {}", publicText(device.name));
    }
    for (const std::string& uid : before) {
        if (!after.contains(uid)) logger.notice("Device disconnected: {}", publicText(uid));
    }
    changeCounter_.set(changeCounter() + 1);
    const auto handlers = changeHandlers_; // a handler may end the manager
    handlers->notify();
}

AudioDeviceManager::ChangeSubscription AudioDeviceManager::onChange(std::function<void()> handler) {
    const ChangeSubscription subscription{UUID::random()};
    changeHandlers_->add(subscription.id, std::move(handler));
    return subscription;
}

void AudioDeviceManager::removeChangeHandler(const ChangeSubscription& subscription) {
    changeHandlers_->remove(subscription.id);
}

std::vector<AudioOutputDevice>
AudioDeviceManager::selectableDevices(std::optional<std::string_view> excludingUID) const {
    return DeviceSelectionRules::selectableOutputDevices(devices(), excludingUID, collation_);
}

std::optional<AudioOutputDevice> AudioDeviceManager::device(std::string_view forUID) const {
    return find(devices(), forUID, &AudioOutputDevice::uid);
}

std::optional<AudioOutputDevice> AudioDeviceManager::device(AudioObjectID forID) const {
    return find(devices(), forID, &AudioOutputDevice::deviceID);
}

std::set<std::string> AudioDeviceManager::connectedUIDs() const {
    std::set<std::string> uids;
    for (const AudioOutputDevice& device : devices())
        uids.insert(device.uid);
    return uids;
}

bool AudioDeviceManager::wasRecentlyConnected(std::string_view uid, double within) const {
    const auto found = connectionTimes_.find(uid);
    return found != connectionTimes_.end() && clock_.now().timeIntervalSince(found->second) <= within;
}

} // namespace velto
