// AudioGroup: a validated list of outputs that may be joined into one aggregate.
#pragma once

#include "VeltoCore/CoreAudio/AudioOutputDevice.h"

#include <cstddef>
#include <exception>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace velto {

class AudioGroup {
  public:
    /// Why devices can't form a group.
    class ValidationError final : public std::exception {
      public:
        struct DuplicateDevice {
            std::string uid;
            bool operator==(const DuplicateDevice&) const = default;
        };
        struct DeviceWithoutOutput {
            std::string name;
            bool operator==(const DeviceWithoutOutput&) const = default;
        };
        struct TooFewDevices {
            bool operator==(const TooFewDevices&) const = default;
        };
        using Kind = std::variant<DuplicateDevice, DeviceWithoutOutput, TooFewDevices>;

        explicit ValidationError(Kind kind);
        const Kind& kind() const noexcept { return kind_; }
        const char* what() const noexcept override { return description_.c_str(); }

      private:
        Kind kind_;
        std::string description_;
    };

    /// Takes the devices in this order. Throws ValidationError for the first fault: a connected device
    /// without output channels, a UID for the second time, and at the end fewer than two devices.
    explicit AudioGroup(std::vector<AudioOutputDevice> devices);

    const std::vector<AudioOutputDevice>& devices() const noexcept { return devices_; }
    std::vector<std::string> uids() const;
    std::size_t count() const noexcept { return devices_.size(); }
    /// The devices' names joined with " + ".
    std::string displayName() const;
    bool contains(std::string_view uid) const noexcept;

    friend bool operator==(const AudioGroup&, const AudioGroup&) = default;

  private:
    std::vector<AudioOutputDevice> devices_;
};

} // namespace velto
