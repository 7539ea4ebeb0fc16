#include "VeltoCore/CoreAudio/AudioTransportType.h"

#include <gmock/gmock.h>

#include <string>

namespace velto {
namespace {

using Kind = AudioTransportType::Kind;

TEST(AudioTransportTypeTests, ClassifiesEachCode) {
    struct Case {
        std::uint32_t code;
        Kind kind;
        std::string storedName;
        std::string displayName;
        std::string symbolName;
    };
    const Case cases[] = {
        {fourCharCode("bltn"), Kind::builtIn, "builtIn", "Built-in", "laptopcomputer"},
        {fourCharCode("grup"), Kind::aggregate, "aggregate", "Aggregate", "hifispeaker.2"},
        {fourCharCode("fgrp"), Kind::autoAggregate, "autoAggregate", "Auto Aggregate", "hifispeaker.2"},
        {fourCharCode("virt"), Kind::virtualDevice, "virtual", "Virtual", "waveform"},
        {fourCharCode("pci "), Kind::pci, "pci", "PCI", "speaker.wave.2"},
        {fourCharCode("usb "), Kind::usb, "usb", "USB", "cable.connector"},
        {fourCharCode("1394"), Kind::fireWire, "fireWire", "FireWire", "speaker.wave.2"},
        {fourCharCode("blue"), Kind::bluetooth, "bluetooth", "Bluetooth", "headphones"},
        {fourCharCode("blea"), Kind::bluetoothLE, "bluetoothLE", "Bluetooth LE", "headphones"},
        {fourCharCode("hdmi"), Kind::hdmi, "hdmi", "HDMI", "display"},
        {fourCharCode("dprt"), Kind::displayPort, "displayPort", "DisplayPort", "display"},
        {fourCharCode("airp"), Kind::airPlay, "airPlay", "AirPlay", "airplayaudio"},
        {fourCharCode("eavb"), Kind::avb, "avb", "AVB", "speaker.wave.2"},
        {fourCharCode("thun"), Kind::thunderbolt, "thunderbolt", "Thunderbolt", "speaker.wave.2"},
        {fourCharCode("ccwd"), Kind::continuityCapture, "continuityCapture", "Continuity", "speaker.wave.2"},
        {fourCharCode("ccwl"), Kind::continuityCapture, "continuityCapture", "Continuity", "speaker.wave.2"},
        {fourCharCode("ccap"), Kind::unknown, "unknown", "Unknown ('ccap' (1667457392))", "speaker.wave.2"},
        {0, Kind::unknown, "unknown", "Unknown (0)", "speaker.wave.2"},
        {0xFFFFFFFF, Kind::unknown, "unknown", "Unknown (-1)", "speaker.wave.2"},
    };
    for (const Case& c : cases) {
        const AudioTransportType type(c.code);
        EXPECT_EQ(type.kind(), c.kind) << c.storedName;
        EXPECT_EQ(type.unknownCode(), c.kind == Kind::unknown ? c.code : 0) << c.storedName;
        EXPECT_EQ(type.storedName(), c.storedName);
        EXPECT_EQ(type.displayName(), c.displayName);
        EXPECT_EQ(type.symbolName(), c.symbolName) << c.storedName;
        EXPECT_EQ(AudioTransportType::fromStoredName(c.storedName, c.code), type);
        EXPECT_EQ(type.isBluetooth(), c.storedName.starts_with("bluetooth"));
        EXPECT_EQ(type.isAggregate(), c.displayName.ends_with("Aggregate"));
    }
}

TEST(AudioTransportTypeTests, StoredNamesAreExact) {
    EXPECT_EQ(AudioTransportType::fromStoredName("Bluetooth"), std::nullopt);
    EXPECT_EQ(AudioTransportType::fromStoredName(""), std::nullopt);
    EXPECT_EQ(AudioTransportType::fromStoredName("virtualDevice"), std::nullopt);
    // A stored unknown stays one, even with a code that is known today.
    const auto stored = AudioTransportType::fromStoredName("unknown", kAudioDeviceTransportTypeUSB);
    EXPECT_EQ(stored->kind(), Kind::unknown);
    EXPECT_EQ(stored->unknownCode(), kAudioDeviceTransportTypeUSB);
}

} // namespace
} // namespace velto
