#include "VeltoCore/CoreAudio/AudioManagerError.h"

#include "VeltoCore/CoreAudio/CoreAudioStatus.h"

#include <fmt/format.h>

#include <utility>

namespace velto {

namespace {

using E = AudioManagerError;

constexpr std::string_view service = "Core Audio";
constexpr std::string_view reported = "Core Audio reported an error: ";
constexpr const char* reconnect = "Reconnect the device and try again.";
constexpr const char* resetIfPersists = "Use Reset Audio Configuration in Settings if the problem persists.";

struct Description {
    std::string operator()(const E::DeviceNotFound& e) const {
        return e.name + " could not be found. Make sure it is connected and try again.";
    }
    std::string operator()(const E::DeviceUnavailable& e) const {
        return e.name + " is currently unavailable.";
    }
    std::string operator()(const E::IncompatibleSampleRates& e) const {
        return e.first + " and " + e.second +
               " do not share a common sample rate, so they cannot play together.";
    }
    std::string operator()(const E::AggregateCreationFailed& e) const {
        return "Could not create the multi-output device. " + e.reason;
    }
    std::string operator()(const E::CannotSetDefaultOutput& e) const {
        return "Could not switch the system output. " + e.reason;
    }
    std::string operator()(const E::CannotRestoreOutput& e) const {
        return "Could not restore the previous system output. " + e.reason;
    }
    std::string operator()(const E::BluetoothDisconnected& e) const {
        return e.name + " is no longer available.";
    }
    std::string operator()(const E::AggregateDestroyFailed& e) const {
        return "Could not remove the Velto output. " + e.reason;
    }
    std::string operator()(const E::DeviceDisconnected& e) const {
        return e.name + " is no longer available.";
    }
    std::string operator()(const E::CoreAudioError& e) const {
        return std::string(reported) + coreAudioDescription(e.status);
    }
    std::string operator()(E::SameDeviceSelected) const {
        return "Please choose two different output devices.";
    }
    std::string operator()(E::NoOutputDevices) const { return "No audio outputs are available."; }
    std::string operator()(E::PermissionDenied) const {
        return "Velto does not have permission to change audio settings.";
    }
    std::string operator()(E::SyncEngineUnavailable) const {
        return "Adjusting delay needs the Velto Sync Engine, which is not available in this version.";
    }
    std::string operator()(E::SyncEngineFailed) const {
        return "Velto could not go on delaying the outputs. They play, but not in step.";
    }
};

struct Suggestion {
    using Text = std::optional<std::string>;
    const PlatformWords& words;

    Text pickManually() const {
        return fmt::format("You can pick an output manually in {}.", words.soundSettings);
    }
    Text operator()(const E::DeviceNotFound&) const { return reconnect; }
    Text operator()(const E::DeviceUnavailable&) const { return reconnect; }
    Text operator()(const E::IncompatibleSampleRates&) const {
        return "Try a different pair of devices or change the preferred sample rate in Settings.";
    }
    Text operator()(const E::AggregateCreationFailed&) const { return resetIfPersists; }
    Text operator()(const E::CannotSetDefaultOutput&) const { return pickManually(); }
    Text operator()(const E::CannotRestoreOutput&) const { return pickManually(); }
    Text operator()(const E::BluetoothDisconnected&) const { return reconnect; }
    Text operator()(const E::AggregateDestroyFailed&) const {
        return "Use Reset Audio Configuration in Settings to clean up.";
    }
    Text operator()(const E::DeviceDisconnected&) const { return reconnect; }
    Text operator()(const E::CoreAudioError&) const { return resetIfPersists; }
    Text operator()(E::SameDeviceSelected) const { return std::nullopt; }
    Text operator()(E::NoOutputDevices) const {
        return "Connect headphones, a speaker or another audio output.";
    }
    Text operator()(E::PermissionDenied) const { return fmt::format("Check {}.", words.privacySettings); }
    Text operator()(E::SyncEngineUnavailable) const { return std::nullopt; }
    Text operator()(E::SyncEngineFailed) const { return "Stop and play again to try once more."; }
};

} // namespace

AudioManagerError::AudioManagerError(Kind kind)
    : kind_(std::move(kind)), description_(std::visit(Description{}, kind_)) {}

E AudioManagerError::deviceNotFound(std::string name) { return E(DeviceNotFound{std::move(name)}); }
E AudioManagerError::deviceUnavailable(std::string name) { return E(DeviceUnavailable{std::move(name)}); }
E AudioManagerError::incompatibleSampleRates(std::string first, std::string second) {
    return E(IncompatibleSampleRates{std::move(first), std::move(second)});
}
E AudioManagerError::aggregateCreationFailed(std::string reason) {
    return E(AggregateCreationFailed{std::move(reason)});
}
E AudioManagerError::cannotSetDefaultOutput(std::string reason) {
    return E(CannotSetDefaultOutput{std::move(reason)});
}
E AudioManagerError::cannotRestoreOutput(std::string reason) {
    return E(CannotRestoreOutput{std::move(reason)});
}
E AudioManagerError::bluetoothDisconnected(std::string name) {
    return E(BluetoothDisconnected{std::move(name)});
}
E AudioManagerError::aggregateDestroyFailed(std::string reason) {
    return E(AggregateDestroyFailed{std::move(reason)});
}
E AudioManagerError::deviceDisconnected(std::string name) { return E(DeviceDisconnected{std::move(name)}); }
E AudioManagerError::coreAudioError(OSStatus status) { return E(CoreAudioError{status}); }
E AudioManagerError::sameDeviceSelected() { return E(SameDeviceSelected{}); }
E AudioManagerError::noOutputDevices() { return E(NoOutputDevices{}); }
E AudioManagerError::permissionDenied() { return E(PermissionDenied{}); }
E AudioManagerError::syncEngineUnavailable() { return E(SyncEngineUnavailable{}); }
E AudioManagerError::syncEngineFailed() { return E(SyncEngineFailed{}); }

std::optional<OSStatus> AudioManagerError::status() const noexcept {
    const auto* error = std::get_if<CoreAudioError>(&kind_);
    return error ? std::optional(error->status) : std::nullopt;
}

std::string AudioManagerError::named(std::string description, const PlatformWords& words) {
    if (const auto place = description.find(reported); place != std::string::npos)
        description.replace(place, service.size(), words.audioService);
    return description;
}

std::optional<std::string> AudioManagerError::recoverySuggestion(const PlatformWords& words) const {
    return std::visit(Suggestion{words}, kind_);
}

} // namespace velto
