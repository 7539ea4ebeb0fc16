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
}

AudioDeviceManager::~AudioDeviceManager() = default;

Subscription AudioDeviceManager::observeDevices(std::function<void()> handler) {
    return devices_.observe(std::move(handler));
}

Subscription AudioDeviceManager::observeDefaultOutputDevice(std::function<void()> handler) {
    return defaultOutputDevice_.observe(std::move(handler));
}

void AudioDeviceManager::refresh() {
    auto read = readDevices();
    auto devices = read.value_or(this->devices());
    auto defaultOutputDevice = readDefaultOutputDevice(devices);
    if (hasBeenRead_) recordConnectionTimes(devices);
    if (read) {
        hasBeenRead_ = true;
        lastRead_ = std::move(read);
    }
    const bool areOthers = devices_.store(std::move(devices));
    const bool isOther = defaultOutputDevice_.store(std::move(defaultOutputDevice));
    logger.debug("Enumerated {} output devices; default: {}", this->devices().size(),
                 this->defaultOutputDevice() ? this->defaultOutputDevice()->name : "none");
    const auto lifetime = lifetime_.watch(); // an observer may end the manager
    if (areOthers) devices_.notify();
    if (isOther && !lifetime.isOver()) defaultOutputDevice_.notify();
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
    if (client_.isHidden(id)) return std::nullopt;
    try {
        AudioOutputDevice device = readDevice(id);
        return device.outputChannelCount < 1 ? std::nullopt : std::optional(std::move(device)); // input only
    } catch (const std::exception& error) {
        if (isNoAnswer(error)) throw;
        auto known = knownDevice(id);
        logger.debug("{} device {}: {}", publicText(known ? "Kept" : "Left out"), id, error.what());
        return known;
    }
}

/// What a device can do without is as it was known when it can't be read. Throws for the rest.
AudioOutputDevice AudioDeviceManager::readDevice(AudioObjectID id) {
    AudioOutputDevice device;
    const auto readOrKnown = [&](auto read, auto AudioOutputDevice::*field) {
        using Value = decltype(read());
        return answeredOr(std::nullopt, [&]() -> std::optional<Value> { return read(); })
            .or_else([&] { return std::optional(knownDevice(id).value_or(device).*field); })
            .value();
    };
    device.deviceID = id;
    device.outputChannelCount = client_.outputChannelCount(id);
    if (device.outputChannelCount < 1) return device;
    device.uid = client_.deviceUID(id);
    device.name = client_.deviceName(id);
    device.transportType = readOrKnown([&] { return AudioTransportType(client_.transportType(id)); },
                                       &AudioOutputDevice::transportType);
    const double rate =
        readOrKnown([&] { return client_.nominalSampleRate(id); }, &AudioOutputDevice::sampleRate);
    device.sampleRate = std::isfinite(rate) ? rate : 0;
    device.availableSampleRates = readOrKnown([&] { return client_.availableSampleRates(id); },
                                              &AudioOutputDevice::availableSampleRates);
    device.manufacturer = client_.deviceManufacturer(id);
    device.latencyFrames = client_.outputLatencyFrames(id);
    device.safetyOffsetFrames = client_.outputSafetyOffsetFrames(id);
    device.hasVolumeControl = client_.supportsOutputVolume(id);
    return device;
}

/// What was last read of the device of that object ID, as long as it is the same one and lives.
std::optional<AudioOutputDevice> AudioDeviceManager::knownDevice(AudioObjectID id) {
    auto known = lastRead_ ? find(*lastRead_, id, &AudioOutputDevice::deviceID) : std::nullopt;
    if (!known || !client_.isAlive(id)) return std::nullopt;
    const auto uid = answeredOr(known->uid, [&] { return client_.deviceUID(id); });
    return uid == known->uid ? known : std::nullopt;
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
        auto handler = lifetime_.whileAlive([this] { handleChange(); });
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

void AudioDeviceManager::handleServiceRestart() {
    lastRead_.reset();
    stopObserving();
    startObserving();
}

void AudioDeviceManager::handleChange() {
    if (listenerTokens_.empty()) return; // sent before observing ended
    const auto before = knownUIDs();
    const auto lifetime = lifetime_.watch(); // observers and handlers may end the manager
    refresh();
    if (lifetime.isOver()) return;
    if (before) logChanges(*before);
    changeObservers_.notify();
}

void AudioDeviceManager::logChanges(const std::set<std::string>& before) const {
    const std::set<std::string> after = connectedUIDs();
    for (const AudioOutputDevice& device : devices()) {
        if (!before.contains(device.uid)) logger.notice("Device connected: {}", publicText(device.name));
    }
    for (const std::string& uid : before) {
        if (!after.contains(uid)) logger.notice("Device disconnected: {}", publicText(uid));
    }
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

std::optional<std::set<std::string>> AudioDeviceManager::knownUIDs() const {
    return hasBeenRead_ ? std::optional(connectedUIDs()) : std::nullopt;
}

bool AudioDeviceManager::wasRecentlyConnected(std::string_view uid, double within) const {
    const auto found = connectionTimes_.find(uid);
    return found != connectionTimes_.end() && clock_.now().timeIntervalSince(found->second) <= within;
}

} // namespace velto
