// AudioTransportType: how a device is connected, from the hardware layer's transport code.
#pragma once

#include "VeltoCore/CoreAudio/CoreAudioTypes.h"

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace velto {

class AudioTransportType {
  public:
    enum class Kind {
        unknown,
        builtIn,
        aggregate,
        autoAggregate,
        virtualDevice, // "virtual" is a keyword
        pci,
        usb,
        fireWire,
        bluetooth,
        bluetoothLE,
        hdmi,
        displayPort,
        airPlay,
        avb,
        thunderbolt,
        continuityCapture,
    };

    /// The type for a raw transport code; unlisted codes, 0 among them, become `unknown` with that code.
    explicit AudioTransportType(std::uint32_t rawValue = 0) noexcept;
    /// One of the kinds other than `unknown`; `unknown` itself gets code 0.
    AudioTransportType(Kind kind) noexcept : kind_(kind) {}

    Kind kind() const noexcept { return kind_; }
    /// The code of an `unknown` transport; 0 for all others.
    std::uint32_t unknownCode() const noexcept { return unknownCode_; }

    bool isBluetooth() const noexcept { return kind_ == Kind::bluetooth || kind_ == Kind::bluetoothLE; }
    bool isAggregate() const noexcept { return kind_ == Kind::aggregate || kind_ == Kind::autoAggregate; }

    /// For the user, such as "Bluetooth LE".
    std::string displayName() const;
    /// The system symbol for the transport's badge.
    std::string_view symbolName() const noexcept;
    /// The name that stands for the kind in stored records, such as "bluetoothLE".
    std::string_view storedName() const noexcept;
    /// The kind with that stored name, none if there is no such name. `unknownCode` counts for "unknown"
    /// only.
    static std::optional<AudioTransportType> fromStoredName(std::string_view name,
                                                            std::uint32_t unknownCode = 0) noexcept;

    friend auto operator<=>(const AudioTransportType&, const AudioTransportType&) = default;

  private:
    Kind kind_ = Kind::unknown;
    std::uint32_t unknownCode_ = 0;
};

} // namespace velto
