#include "VeltoCore/Volume/AggregateVolume.h"

#include "VeltoCore/CoreAudio/ErrorConversion.h"
#include "VeltoCore/Services/LoggingService.h"
#include "VeltoCore/Volume/DeviceVolumeController.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace velto {

namespace {

constexpr const Logger& logger = LoggingService::audioDevices;

/// A volume that is written comes back with a rounding error; that is nobody's change.
constexpr float roundingError = 0.002F;

bool hasMute(const DeviceVolumeState& state) noexcept { return state.isConnected && state.supportsMute; }

} // namespace

AggregateVolume::AggregateVolume(CoreAudioClient& client, DeviceVolumeController& controller)
    : client_(client), controller_(controller) {}

void AggregateVolume::follow(AudioObjectID aggregate) {
    if (aggregate != aggregate_) {
        for (const auto& token : std::exchange(tokens_, {}))
            client_.removePropertyListener(token);
        adjustments_ = {};
        mutedHere_.clear();
        aggregate_ = aggregate;
        hasControls_ = aggregate != kAudioObjectUnknown && client_.supportsOutputVolume(aggregate);
        if (!hasControls_) return;
        adjustments_ = controller_.observeAdjustments([this] { devicesAdjusted(); });
        if (const auto now = read()) shown_ = *now;
        show(ofDevices()); // first: what it was before is nobody's wish for these outputs
        listen();
    } else if (hasControls_ && connected() != connected_) {
        show(ofDevices()); // an output that came or went
    }
}

void AggregateVolume::listen() {
    const auto handler = lifetime_.whileAlive([this] { aggregateChanged(); });
    try {
        for (auto add : {&CoreAudioClient::addOutputVolumeListener, &CoreAudioClient::addOutputMuteListener})
            if (auto token = (client_.*add)(aggregate_, handler)) tokens_.push_back(std::move(token));
    } catch (...) {
        logger.error("Could not observe the volume of the aggregate: {}", currentErrorDescription());
    }
}

/// From the aggregate to the outputs.
void AggregateVolume::aggregateChanged() {
    const auto now = hasControls_ ? read() : std::nullopt;
    if (!now) return;
    const Controls before = std::exchange(shown_, *now);
    const bool wasTurning = std::exchange(isTurning_, true);
    const auto lifetime = lifetime_.watch(); // an observer may end the controller
    controller_.together([&] {
        if (std::abs(now->volume - before.volume) > roundingError) controller_.setMasterVolume(now->volume);
        if (!lifetime.isOver() && now->isMuted != before.isMuted) setMuted(now->isMuted);
    });
    if (lifetime.isOver()) return;
    isTurning_ = wasTurning;
    // What could not be done, or not so far, is shown as it is.
    devicesAdjusted();
}

/// From the outputs to the aggregate.
void AggregateVolume::devicesAdjusted() {
    std::erase_if(mutedHere_, [this](const std::string& uid) {
        const auto state = controller_.state(uid);
        return !state || !state->isMuted;
    });
    if (!isTurning_) show(ofDevices());
}

void AggregateVolume::setMuted(bool isMuted) {
    const std::vector<DeviceVolumeState> states = controller_.states();
    // Where each output was muted by itself, that was muting the aggregate.
    const bool areAllMuted = mutedHere_.empty();
    const auto lifetime = lifetime_.watch();
    for (const DeviceVolumeState& state : states) {
        if (!hasMute(state) || state.isMuted == isMuted) continue;
        if (!isMuted && !areAllMuted && !mutedHere_.contains(state.uid)) continue;
        controller_.setMuted(isMuted, state.uid);
        if (lifetime.isOver()) return;
        if (isMuted) mutedHere_.insert(state.uid);
    }
    if (!isMuted) mutedHere_.clear();
}

std::optional<AggregateVolume::Controls> AggregateVolume::read() const {
    try {
        return Controls{client_.outputVolume(aggregate_),
                        client_.supportsOutputMute(aggregate_) && client_.outputMute(aggregate_)};
    } catch (...) { // it has gone; the client has logged it
        return std::nullopt;
    }
}

AggregateVolume::Controls AggregateVolume::ofDevices() const {
    const auto& states = controller_.states();
    const bool isAnyHeard =
        std::ranges::any_of(states, [](const auto& state) { return hasMute(state) && !state.isMuted; });
    return {controller_.supportsMasterVolume() ? std::min(controller_.masterVolume(), 1.0F) : shown_.volume,
            !isAnyHeard && std::ranges::any_of(states, hasMute)};
}

/// Compared with what was heard last, not with what could be read now: that may be somebody's next change
/// already, which is yet to be heard and must not be undone.
void AggregateVolume::show(Controls controls) {
    const Controls before = std::exchange(shown_, controls);
    connected_ = connected();
    try {
        if (std::abs(before.volume - controls.volume) > roundingError)
            client_.setOutputVolume(aggregate_, controls.volume);
        if (before.isMuted != controls.isMuted) client_.setOutputMute(aggregate_, controls.isMuted);
    } catch (...) {
        logger.error("Could not show the volume at the aggregate: {}", currentErrorDescription());
    }
}

std::set<std::string> AggregateVolume::connected() const {
    std::set<std::string> result;
    for (const DeviceVolumeState& state : controller_.states())
        if (state.isConnected) result.insert(state.uid);
    return result;
}

} // namespace velto
