#include "Velto/Shell/DeviceIconProvider.h"

#include <gtest/gtest.h>

#include <string_view>

namespace velto {
namespace {

using Kind = AudioTransportType::Kind;

std::string_view icon(std::string_view name, AudioTransportType transport) {
    return DeviceIconProvider::symbolName(
        AudioOutputDevice::disconnected("uid", std::string(name), transport));
}

TEST(DeviceIconProvider, GoesByTheNameFirst) {
    EXPECT_EQ(icon("Mia's AirPods Max", Kind::bluetooth), "airpodsmax");
    EXPECT_EQ(icon("AIRPODS PRO", Kind::usb), "airpodspro");
    EXPECT_EQ(icon("AirPods Display", Kind::bluetooth), "airpods");
    EXPECT_EQ(icon("Beats Flip", Kind::bluetooth), "headphones");
    EXPECT_EQ(icon("USB Headphones", Kind::usb), "headphones");
    EXPECT_EQ(icon("HomePod Monitor", Kind::airPlay), "homepod");
    EXPECT_EQ(icon("Studio Display Speaker", Kind::bluetooth), "display");
    EXPECT_EQ(icon("Near-field monitor", Kind::usb), "display");
}

TEST(DeviceIconProvider, GoesByTheTransportElse) {
    EXPECT_EQ(icon("FLIP 6", Kind::bluetooth), "hifispeaker");
    EXPECT_EQ(icon("Jbl Go", Kind::bluetoothLE), "hifispeaker");
    EXPECT_EQ(icon("WH-1000", Kind::bluetooth), "headphones");
    EXPECT_EQ(icon("Speaker", Kind::builtIn), "laptopcomputer");
    EXPECT_EQ(icon("Speaker", Kind::usb), "wave.3.right");
    EXPECT_EQ(icon("All", Kind::autoAggregate), "hifispeaker.2");
    EXPECT_EQ(icon("Loop", Kind::virtualDevice), "waveform");
    EXPECT_EQ(icon("TV", Kind::displayPort), "display");
    EXPECT_EQ(icon("TV", Kind::airPlay), "airplayaudio");
    EXPECT_EQ(icon("Card", Kind::pci), "speaker.wave.2");
    EXPECT_EQ(icon("", AudioTransportType(0x61626364)), "speaker.wave.2");
}

} // namespace
} // namespace velto
