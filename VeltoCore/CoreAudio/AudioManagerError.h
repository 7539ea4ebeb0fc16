// AudioManagerError: the one error type of the core.
//
// Thrown by the hardware client and by every manager, kept in the session's state, shown to the user: the
// description as the message, the recovery suggestion as the hint beneath it.
#pragma once

#include "VeltoCore/CoreAudio/CoreAudioTypes.h"
#include "VeltoCore/Services/PlatformWords.h"

#include <exception>
#include <optional>
#include <string>
#include <variant>

namespace velto {

class AudioManagerError final : public std::exception {
  public:
    struct DeviceNotFound {
        std::string name;
        bool operator==(const DeviceNotFound&) const = default;
    };
    struct DeviceUnavailable {
        std::string name;
        bool operator==(const DeviceUnavailable&) const = default;
    };
    /// The names of the devices that can't agree.
    struct IncompatibleSampleRates {
        std::string first;
        std::string second;
        bool operator==(const IncompatibleSampleRates&) const = default;
    };
    struct AggregateCreationFailed {
        std::string reason;
        bool operator==(const AggregateCreationFailed&) const = default;
    };
    struct CannotSetDefaultOutput {
        std::string reason;
        bool operator==(const CannotSetDefaultOutput&) const = default;
    };
    struct CannotRestoreOutput {
        std::string reason;
        bool operator==(const CannotRestoreOutput&) const = default;
    };
    struct BluetoothDisconnected {
        std::string name;
        bool operator==(const BluetoothDisconnected&) const = default;
    };
    struct AggregateDestroyFailed {
        std::string reason;
        bool operator==(const AggregateDestroyFailed&) const = default;
    };
    struct DeviceDisconnected {
        std::string name;
        bool operator==(const DeviceDisconnected&) const = default;
    };
    struct CoreAudioError {
        OSStatus status;
        bool operator==(const CoreAudioError&) const = default;
    };
    struct SameDeviceSelected {
        bool operator==(const SameDeviceSelected&) const = default;
    };
    struct NoOutputDevices {
        bool operator==(const NoOutputDevices&) const = default;
    };
    struct PermissionDenied {
        bool operator==(const PermissionDenied&) const = default;
    };
    struct SyncEngineUnavailable {
        bool operator==(const SyncEngineUnavailable&) const = default;
    };
    struct SyncEngineFailed {
        bool operator==(const SyncEngineFailed&) const = default;
    };

    using Kind =
        std::variant<DeviceNotFound, DeviceUnavailable, IncompatibleSampleRates, AggregateCreationFailed,
                     CannotSetDefaultOutput, CannotRestoreOutput, BluetoothDisconnected,
                     AggregateDestroyFailed, DeviceDisconnected, CoreAudioError, SameDeviceSelected,
                     NoOutputDevices, PermissionDenied, SyncEngineUnavailable, SyncEngineFailed>;

    static AudioManagerError deviceNotFound(std::string name);
    static AudioManagerError deviceUnavailable(std::string name);
    static AudioManagerError incompatibleSampleRates(std::string first, std::string second);
    static AudioManagerError aggregateCreationFailed(std::string reason);
    static AudioManagerError cannotSetDefaultOutput(std::string reason);
    static AudioManagerError cannotRestoreOutput(std::string reason);
    static AudioManagerError bluetoothDisconnected(std::string name);
    static AudioManagerError aggregateDestroyFailed(std::string reason);
    static AudioManagerError deviceDisconnected(std::string name);
    static AudioManagerError coreAudioError(OSStatus status);
    static AudioManagerError sameDeviceSelected();
    static AudioManagerError noOutputDevices();
    static AudioManagerError permissionDenied();
    static AudioManagerError syncEngineUnavailable();
    static AudioManagerError syncEngineFailed();

    const Kind& kind() const noexcept { return kind_; }
    /// The hardware status of a `coreAudioError`; none for the other cases.
    std::optional<OSStatus> status() const noexcept;
    /// Whether the audio service gave no answer ('stop'): what was asked is unknown, and what was to be done
    /// may be done yet, once the service answers again.
    bool isNoAnswer() const noexcept { return status() == kAudioHardwareNotRunningError; }

    /// The message for the user, one or two sentences.
    const std::string& errorDescription() const noexcept { return description_; }
    /// The same, or a text that it is part of, with the name that the audio service has here.
    static std::string named(std::string description, const PlatformWords& words);
    /// What the user can do about it here; absent where there is nothing to suggest.
    std::optional<std::string> recoverySuggestion(const PlatformWords& words) const;
    const char* what() const noexcept override { return description_.c_str(); }

    friend bool operator==(const AudioManagerError& a, const AudioManagerError& b) {
        return a.kind_ == b.kind_;
    }

  private:
    explicit AudioManagerError(Kind kind);

    Kind kind_;
    std::string description_;
};

} // namespace velto
