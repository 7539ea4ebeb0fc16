#include "VeltoCore/CoreAudio/AudioTransportType.h"

#include <gmock/gmock.h>

namespace velto {
namespace {

using Kind = AudioTransportType::Kind;

TEST(AudioTransportTypeTests, StoredNamesAreExact) {
    const std::pair<std::uint32_t, const char*> names[] = {
        {fourCharCode("bltn"), "builtIn"},
        {fourCharCode("grup"), "aggregate"},
        {fourCharCode("fgrp"), "autoAggregate"},
        {fourCharCode("virt"), "virtual"},
        {fourCharCode("usb "), "usb"},
        {fourCharCode("blue"), "bluetooth"},
        {fourCharCode("blea"), "bluetoothLE"},
        {fourCharCode("hdmi"), "hdmi"},
        {fourCharCode("dprt"), "displayPort"},
        {fourCharCode("airp"), "airPlay"},
        {fourCharCode("ccwd"), "continuityCapture"},
        {fourCharCode("ccwl"), "continuityCapture"},
    };
    for (const auto& [code, name] : names)
        EXPECT_EQ(AudioTransportType(code).storedName(), name);
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
