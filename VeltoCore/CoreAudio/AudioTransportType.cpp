#include "VeltoCore/CoreAudio/AudioTransportType.h"

#include "VeltoCore/CoreAudio/CoreAudioStatus.h"

#include <algorithm>
#include <array>

namespace velto {

namespace {

using Kind = AudioTransportType::Kind;

struct Row {
    Kind kind;
    std::string_view storedName;
    std::string_view displayName;
    std::string_view symbolName;
    std::uint32_t code;
    std::uint32_t alternativeCode; // folds into the same kind; 0 for none
};

constexpr std::array<Row, 16> rows{{
    {Kind::unknown, "unknown", "Unknown", "speaker.wave.2", 0, 0},
    {Kind::builtIn, "builtIn", "Built-in", "laptopcomputer", kAudioDeviceTransportTypeBuiltIn, 0},
    {Kind::aggregate, "aggregate", "Aggregate", "hifispeaker.2", kAudioDeviceTransportTypeAggregate, 0},
    {Kind::autoAggregate, "autoAggregate", "Auto Aggregate", "hifispeaker.2",
     kAudioDeviceTransportTypeAutoAggregate, 0},
    {Kind::virtualDevice, "virtual", "Virtual", "waveform", kAudioDeviceTransportTypeVirtual, 0},
    {Kind::pci, "pci", "PCI", "speaker.wave.2", kAudioDeviceTransportTypePCI, 0},
    {Kind::usb, "usb", "USB", "cable.connector", kAudioDeviceTransportTypeUSB, 0},
    {Kind::fireWire, "fireWire", "FireWire", "speaker.wave.2", kAudioDeviceTransportTypeFireWire, 0},
    {Kind::bluetooth, "bluetooth", "Bluetooth", "headphones", kAudioDeviceTransportTypeBluetooth, 0},
    {Kind::bluetoothLE, "bluetoothLE", "Bluetooth LE", "headphones", kAudioDeviceTransportTypeBluetoothLE, 0},
    {Kind::hdmi, "hdmi", "HDMI", "display", kAudioDeviceTransportTypeHDMI, 0},
    {Kind::displayPort, "displayPort", "DisplayPort", "display", kAudioDeviceTransportTypeDisplayPort, 0},
    {Kind::airPlay, "airPlay", "AirPlay", "airplayaudio", kAudioDeviceTransportTypeAirPlay, 0},
    {Kind::avb, "avb", "AVB", "speaker.wave.2", kAudioDeviceTransportTypeAVB, 0},
    {Kind::thunderbolt, "thunderbolt", "Thunderbolt", "speaker.wave.2", kAudioDeviceTransportTypeThunderbolt,
     0},
    {Kind::continuityCapture, "continuityCapture", "Continuity", "speaker.wave.2",
     kAudioDeviceTransportTypeContinuityCaptureWired, kAudioDeviceTransportTypeContinuityCaptureWireless},
}};

constexpr const Row& rowOf(Kind kind) { return rows[static_cast<std::size_t>(kind)]; }

static_assert(std::ranges::all_of(rows, [](const Row& row) { return rowOf(row.kind).kind == row.kind; }),
              "rows stand in the order of the kinds");

} // namespace

AudioTransportType::AudioTransportType(std::uint32_t rawValue) noexcept : unknownCode_(rawValue) {
    if (rawValue == 0) return;
    for (const Row& row : rows) {
        if (row.code != rawValue && row.alternativeCode != rawValue) continue;
        kind_ = row.kind;
        unknownCode_ = 0;
    }
}

std::string AudioTransportType::displayName() const {
    if (kind_ == Kind::unknown) return "Unknown (" + fourCharCodeDescription(unknownCode_) + ")";
    return std::string(rowOf(kind_).displayName);
}

std::string_view AudioTransportType::symbolName() const noexcept { return rowOf(kind_).symbolName; }

std::string_view AudioTransportType::storedName() const noexcept { return rowOf(kind_).storedName; }

std::optional<AudioTransportType> AudioTransportType::fromStoredName(std::string_view name,
                                                                     std::uint32_t unknownCode) noexcept {
    const auto row = std::ranges::find(rows, name, &Row::storedName);
    if (row == rows.end()) return std::nullopt;
    AudioTransportType result(row->kind);
    // A code that has a kind of its own by now is kept as it was stored.
    if (row->kind == Kind::unknown) result.unknownCode_ = unknownCode;
    return result;
}

} // namespace velto
