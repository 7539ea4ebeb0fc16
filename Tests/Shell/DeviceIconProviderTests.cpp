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

TEST(DeviceIconProvider, GoesByTheNameBeforeTheTransport) {
    EXPECT_EQ(icon("Mia's AirPods Max", Kind::bluetooth), "airpodsmax");
    EXPECT_EQ(icon("AIRPODS PRO", Kind::usb), "airpodspro");
    EXPECT_EQ(icon("Beats Flip", Kind::bluetooth), "headphones");
    EXPECT_EQ(icon("HomePod Monitor", Kind::airPlay), "homepod");
    EXPECT_EQ(icon("Studio Display Speaker", Kind::bluetooth), "display");
    EXPECT_EQ(icon("FLIP 6", Kind::bluetooth), "hifispeaker");
    EXPECT_EQ(icon("WH-1000", Kind::bluetooth), "headphones")
        << "by the transport, when the name says nothing";
}

} // namespace
} // namespace velto
