#include "VeltoCore/Volume/DeviceVolumeController.h"

#include "VeltoCore/CoreAudio/ClampedVolume.h"
#include "VeltoCore/CoreAudio/ErrorConversion.h"
#include "VeltoCore/Services/LoggingService.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <utility>

namespace velto {

namespace {

constexpr const Logger& logger = LoggingService::audioDevices;

/// At or below it all devices count as silent, and there are no proportions to keep.
constexpr float silence = 0.001F;
/// Hardware gives a written volume back with a rounding error; that is nobody's change.
constexpr float roundingError = 0.0001F;

/// The coarsest that hardware is known to have.
constexpr float coarsestStep = 1.0F / 16;

bool isSame(float volume, float other) noexcept { return std::abs(volume - other) <= roundingError; }

bool hasMasterVolume(const DeviceVolumeState& state) noexcept {
    return state.isConnected && state.supportsVolume;
}

bool isAdjusted(const DeviceVolumeState& before, const DeviceVolumeState& after) noexcept {
    if (!before.isConnected || !after.isConnected) return false;
    return !isSame(before.volume, after.volume) || before.isMuted != after.isMuted;
}

/// What the call reads; the fallback when it throws.
auto valueOr(auto fallback, auto call) {
    try {
        return call();
    } catch (const std::exception&) {
        return fallback; // the client has logged the failure
    }
}

} // namespace

DeviceVolumeController::DeviceVolumeController(CoreAudioClient& client)
    : client_(client), aggregateVolume_(client, *this) {}

DeviceVolumeController::~DeviceVolumeController() = default;

// Tracking

void DeviceVolumeController::track(std::vector<AudioOutputDevice> devices, AudioObjectID aggregate) {
    tracked_ = std::move(devices);
    deviceIDs_.clear();
    for (const AudioOutputDevice& device : tracked_)
        resolve(device.uid);
    std::erase_if(listening_, [this](const auto& entry) {
        const auto& [uid, listening] = entry;
        const auto found = deviceIDs_.find(uid);
        if (found != deviceIDs_.end() && found->second == listening.deviceID) return false;
        removeListeners(listening);
        return true;
    });
    std::vector<DeviceVolumeState> states;
    for (const AudioOutputDevice& device : tracked_) {
        // Listening comes first: what changes after the reading is heard of.
        const auto found = deviceIDs_.find(device.uid);
        if (found != deviceIDs_.end() && !listening_.contains(device.uid)) listen(device, found->second);
        states.push_back(readState(device));
        if (states.back().isConnected) isEcho(device.uid, states.back().volume);
    }
    const auto lifetime = lifetime_.watch(); // an observer may end the controller
    states_.set(std::move(states));
    if (!lifetime.isOver()) aggregateVolume_.follow(aggregate);
}

void DeviceVolumeController::stopTracking() {
    aggregateVolume_.follow(kAudioObjectUnknown);
    for (const auto& entry : std::exchange(listening_, {}))
        removeListeners(entry.second);
    tracked_.clear();
    deviceIDs_.clear();
    asked_.clear();
    states_.set({});
}

void DeviceVolumeController::renewListeners() {
    for (const auto& entry : std::exchange(listening_, {}))
        removeListeners(entry.second);
    const AudioObjectID aggregate = aggregateVolume_.aggregate();
    aggregateVolume_.follow(kAudioObjectUnknown);
    track(tracked_, aggregate);
}

std::optional<AudioObjectID> DeviceVolumeController::resolve(const std::string& uid) {
    const auto id = valueOr(std::optional<AudioObjectID>(), [&] { return client_.deviceID(uid); });
    if (id) {
        deviceIDs_.insert_or_assign(uid, *id);
    } else {
        deviceIDs_.erase(uid);
    }
    return id;
}

DeviceVolumeState DeviceVolumeController::readState(const AudioOutputDevice& device) {
    DeviceVolumeState state{.uid = device.uid, .name = device.name, .transportType = device.transportType};
    const auto found = deviceIDs_.find(device.uid);
    if (found == deviceIDs_.end()) return state;
    const AudioObjectID id = found->second;
    const auto last = this->state(device.uid).value_or(state); // where reading fails
    state.isConnected = true;
    state.supportsVolume = client_.supportsOutputVolume(id);
    state.supportsMute = client_.supportsOutputMute(id);
    if (state.supportsVolume) state.volume = valueOr(last.volume, [&] { return client_.outputVolume(id); });
    if (state.supportsMute) state.isMuted = valueOr(last.isMuted, [&] { return client_.outputMute(id); });
    return state;
}

void DeviceVolumeController::removeListeners(const Listening& listening) noexcept {
    for (const PropertyListenerTokenRef& token : listening.tokens)
        client_.removePropertyListener(token);
}

void DeviceVolumeController::listen(const AudioOutputDevice& device, AudioObjectID id) {
    Listening& listening = listening_[device.uid];
    listening.deviceID = id;
    addListener(listening, device, &CoreAudioClient::addOutputVolumeListener);
    addListener(listening, device, &CoreAudioClient::addOutputMuteListener);
}

void DeviceVolumeController::addListener(Listening& listening, const AudioOutputDevice& device,
                                         AddListener add) {
    auto handler = lifetime_.whileAlive([this, uid = device.uid] { handleChange(uid); });
    try {
        if (auto token = (client_.*add)(listening.deviceID, std::move(handler)))
            listening.tokens.push_back(std::move(token));
    } catch (...) {
        logger.error("Could not observe volume of {}: {}", publicText(device.name),
                     currentErrorDescription());
    }
}

void DeviceVolumeController::handleChange(const std::string& uid) {
    const auto device = std::ranges::find(tracked_, uid, &AudioOutputDevice::uid);
    if (device == tracked_.end()) return; // sent before tracking ended
    resolve(uid);
    const auto before = state(uid);
    if (!before) return; // tracking is only just beginning
    const DeviceVolumeState now = readState(*device);
    DeviceVolumeState changed = now;
    if (now.isConnected && isEcho(uid, now.volume)) changed.volume = before->volume;
    if (!replace(now) || !isAdjusted(*before, changed)) return;
    hasAdjusted_ = true;
    tellAdjustments();
}

/// Whether the volume read is what the hardware has made of the one asked for. It may have made nothing of
/// it, where that lies in the step that it has been at: then only what is nearer can come of it.
bool DeviceVolumeController::isEcho(const std::string& uid, float volume) {
    const auto found = asked_.find(uid);
    if (found == asked_.end()) return false;
    Asked& asked = found->second;
    const float error = std::min(coarsestStep, std::abs(asked.previous - asked.volume));
    const bool isIt = asked.echo ? isSame(volume, *asked.echo)
                                 : std::abs(volume - asked.volume) <= std::max(error, roundingError);
    if (isIt) {
        asked.echo = volume;
    } else {
        asked_.erase(found);
    }
    return isIt;
}

// States

std::optional<DeviceVolumeState> DeviceVolumeController::state(std::string_view forUID) const {
    const auto found = std::ranges::find(states(), forUID, &DeviceVolumeState::uid);
    return found == states().end() ? std::nullopt : std::optional(*found);
}

bool DeviceVolumeController::replace(DeviceVolumeState state) {
    auto states = this->states();
    const auto found = std::ranges::find(states, state.uid, &DeviceVolumeState::uid);
    if (found == states.end()) return false;
    *found = std::move(state);
    const auto lifetime = lifetime_.watch(); // an observer may end the controller
    states_.set(std::move(states));
    return !lifetime.isOver();
}

// Setters

void DeviceVolumeController::together(const std::function<void()>& change) {
    const auto lifetime = lifetime_.watch(); // an observer may end the controller
    const bool isPartOfMore = std::exchange(isChangingSeveral_, true);
    change();
    if (lifetime.isOver()) return;
    isChangingSeveral_ = isPartOfMore;
    tellAdjustments();
}

void DeviceVolumeController::tellAdjustments() {
    if (!isChangingSeveral_ && std::exchange(hasAdjusted_, false)) adjustments_.notify();
}

void DeviceVolumeController::setVolume(float volume, std::string_view forUID) {
    const std::string uid(forUID);
    const auto state = this->state(uid);
    if (!state || !deviceIDs_.contains(uid)) return;
    // Before the call, in which the hardware may answer already.
    const auto found = asked_.find(uid);
    const auto before = found == asked_.end() ? std::nullopt : std::optional(found->second);
    const float previous = before ? before->echo.value_or(before->previous) : state->volume;
    asked_.insert_or_assign(uid, Asked{.volume = clampedVolume(volume), .previous = previous, .echo = {}});
    const auto setVolume = [&](AudioObjectID id) {
        try {
            client_.setOutputVolume(id, volume);
        } catch (...) {
            before ? void(asked_.insert_or_assign(uid, *before)) : void(asked_.erase(uid));
            throw;
        }
    };
    write("volume", uid, setVolume, [&](DeviceVolumeState& state) { state.volume = clampedVolume(volume); });
}

void DeviceVolumeController::setMuted(bool isMuted, std::string_view forUID) {
    write(
        "mute", std::string(forUID), [&](AudioObjectID id) { client_.setOutputMute(id, isMuted); },
        [&](DeviceVolumeState& state) { state.isMuted = isMuted; });
}

template <class Write, class Note>
void DeviceVolumeController::write(std::string_view control, const std::string& uid, Write write, Note note) {
    const auto id = deviceIDs_.find(uid);
    const auto before = this->state(uid);
    if (id == deviceIDs_.end() || !before) return;
    together([&] { // listeners may be called meanwhile; they hear of the same change
        const auto lifetime = lifetime_.watch();
        try {
            write(id->second);
            auto state = lifetime.isOver() ? std::nullopt : this->state(uid);
            if (state) note(*state);
            if (state && replace(*state) && isAdjusted(*before, *state)) hasAdjusted_ = true;
        } catch (...) {
            logger.error("Could not set {} on {}: {}", publicText(control), publicText(before->name),
                         currentErrorDescription());
        }
    });
}

// Master volume

float DeviceVolumeController::masterVolume() const noexcept {
    float loudest = 0;
    for (const DeviceVolumeState& state : states()) {
        if (hasMasterVolume(state)) loudest = std::max(loudest, state.volume);
    }
    return loudest;
}

bool DeviceVolumeController::supportsMasterVolume() const noexcept {
    return std::ranges::any_of(states(), hasMasterVolume);
}

void DeviceVolumeController::setMasterVolume(float target) {
    const float wanted = clampedVolume(target);
    const float master = masterVolume();
    together([&] {
        const auto lifetime = lifetime_.watch(); // an observer may end the controller
        // Taken before the first write: each one changes the states, and listeners may change them further.
        for (const DeviceVolumeState& state : std::vector(states())) {
            if (!hasMasterVolume(state)) continue;
            const float volume = master > silence ? std::min(wanted * (state.volume / master), 1.0F) : wanted;
            setVolume(volume, state.uid);
            if (lifetime.isOver()) return;
        }
    });
}

// Presets

DeviceVolumeController::Settings DeviceVolumeController::currentSettings() const {
    Settings settings;
    for (const DeviceVolumeState& state : states()) {
        if (!state.isConnected) continue;
        DeviceAudioSettings& device = settings[state.uid];
        const auto asked = asked_.find(state.uid);
        if (state.supportsVolume) device.volume = asked == asked_.end() ? state.volume : asked->second.volume;
        if (state.supportsMute) device.isMuted = state.isMuted;
    }
    return settings;
}

void DeviceVolumeController::apply(const Settings& settings) {
    together([&] {
        const auto lifetime = lifetime_.watch(); // an observer may end the controller
        for (const auto& [uid, wanted] : settings) {
            const auto state = this->state(uid);
            if (!state || !state->isConnected) continue;
            if (wanted.volume && state->supportsVolume) setVolume(*wanted.volume, uid);
            if (lifetime.isOver()) return;
            if (wanted.isMuted && state->supportsMute) setMuted(*wanted.isMuted, uid);
            if (lifetime.isOver()) return;
        }
        hasAdjusted_ = false; // what a preset holds is nobody's change
    });
}

} // namespace velto
