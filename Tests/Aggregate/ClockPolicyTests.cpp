#include "VeltoCore/Aggregate/AudioClockCoordinator.h"
#include "VeltoCore/Aggregate/ClockStrategy.h"
#include "VeltoCore/Aggregate/PreferredSampleRate.h"

#include <gmock/gmock.h>

#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace velto {
namespace {

using Kind = AudioTransportType::Kind;

AudioOutputDevice output(std::string uid, Kind transport) {
    AudioOutputDevice device;
    device.uid = std::move(uid);
    device.transportType = transport;
    device.outputChannelCount = 2;
    return device;
}

AudioOutputDevice output(std::string uid, std::optional<std::int64_t> latency,
                         std::optional<std::int64_t> safetyOffset, double sampleRate) {
    AudioOutputDevice device = output(std::move(uid), Kind::usb);
    device.latencyFrames = latency;
    device.safetyOffsetFrames = safetyOffset;
    device.sampleRate = sampleRate;
    return device;
}

std::string clockOf(const std::vector<AudioOutputDevice>& devices, ClockStrategy strategy) {
    const auto device = AudioClockCoordinator::masterDevice(devices, strategy);
    return device ? device->uid : "none";
}

const AudioOutputDevice builtIn = output("builtIn", Kind::builtIn);
const AudioOutputDevice usb = output("usb", Kind::usb);
const AudioOutputDevice airPlay = output("airPlay", Kind::airPlay);
const AudioOutputDevice bluetooth = output("bluetooth", Kind::bluetooth);
const AudioOutputDevice lowEnergy = output("lowEnergy", Kind::bluetoothLE);

TEST(AudioClockCoordinatorTests, AutomaticAvoidsOnlyBluetooth) {
    constexpr auto automatic = ClockStrategy::automatic;
    EXPECT_EQ(clockOf({bluetooth, usb}, automatic), "usb");
    EXPECT_EQ(clockOf({usb, bluetooth}, automatic), "usb");
    EXPECT_EQ(clockOf({lowEnergy, bluetooth}, automatic), "lowEnergy");
    EXPECT_EQ(clockOf({airPlay, builtIn}, automatic), "airPlay");
    EXPECT_EQ(clockOf({bluetooth}, automatic), "bluetooth");
    EXPECT_EQ(clockOf({bluetooth, lowEnergy, airPlay, builtIn}, automatic), "airPlay");
    EXPECT_EQ(clockOf({lowEnergy, bluetooth, bluetooth}, automatic), "lowEnergy");
}

TEST(AudioClockCoordinatorTests, FirstSelectedAndBuiltIn) {
    EXPECT_EQ(clockOf({bluetooth, usb}, ClockStrategy::firstSelected), "bluetooth");
    EXPECT_EQ(clockOf({bluetooth, usb, builtIn}, ClockStrategy::builtInPreferred), "builtIn");
    EXPECT_EQ(clockOf({bluetooth, usb}, ClockStrategy::builtInPreferred), "bluetooth");
}

TEST(AudioClockCoordinatorTests, LowestLatencyCountsTimeNotFrames) {
    constexpr auto lowest = ClockStrategy::lowestLatency;
    const auto slow = output("slow", 480, 0, 48000);
    const auto fast = output("fast", 500, std::nullopt, 96000);
    EXPECT_EQ(clockOf({slow, fast}, lowest), "fast");
    EXPECT_EQ(clockOf({slow, output("offset", 400, 100, 48000)}, lowest), "slow");
    EXPECT_EQ(clockOf({slow, output("tie", 470, 10, 48000)}, lowest), "slow");
    EXPECT_EQ(clockOf({output("silent", std::nullopt, 5, 48000), slow}, lowest), "slow");
    EXPECT_EQ(clockOf({output("no rate", 1, 1, 0), slow}, lowest), "slow");
    EXPECT_EQ(clockOf({output("strange", 1, 1, std::numeric_limits<double>::quiet_NaN()), slow}, lowest),
              "slow");
    EXPECT_EQ(clockOf({usb, airPlay}, lowest), "usb") << "none says: the first";
}

} // namespace
} // namespace velto
