#include "VeltoCore/CoreAudio/AudioOutputDevice.h"

#include <gmock/gmock.h>

#include <limits>

namespace velto {
namespace {

using ::testing::DoubleNear;
using ::testing::Optional;

TEST(AudioOutputDeviceTests, ReportsItsLatencyOnlyWhereFramesAndRateAreKnown) {
    AudioOutputDevice device;
    device.sampleRate = 48000;
    EXPECT_EQ(device.reportedLatencyMilliseconds(), std::nullopt);
    device.safetyOffsetFrames = 64; // says nothing by itself
    EXPECT_EQ(device.reportedLatencyMilliseconds(), std::nullopt);
    device.latencyFrames = 512;
    EXPECT_THAT(device.reportedLatencyMilliseconds(), Optional(DoubleNear(12.0, 1e-9)));
    device.safetyOffsetFrames.reset();
    EXPECT_THAT(device.reportedLatencyMilliseconds(), Optional(DoubleNear(10.0 + 2.0 / 3, 1e-9)));
    device.latencyFrames = 0;
    EXPECT_THAT(device.reportedLatencyMilliseconds(), Optional(0.0));

    constexpr std::int64_t most = std::numeric_limits<std::uint32_t>::max();
    device.latencyFrames = device.safetyOffsetFrames = most;
    EXPECT_THAT(device.reportedLatencyMilliseconds(), Optional(DoubleNear(2.0 * most / 48, 1e-3)));

    for (const double rate : {0.0, -48000.0, std::numeric_limits<double>::quiet_NaN()}) {
        device.sampleRate = rate;
        EXPECT_EQ(device.reportedLatencyMilliseconds(), std::nullopt);
    }
}

TEST(AudioOutputDeviceTests, SupportsTheRatesOfAnyOfItsRangesEndsIncluded) {
    AudioOutputDevice device;
    EXPECT_FALSE(device.supports(44100));
    device.availableSampleRates = {{44100, 44100}, {48000, 96000}};
    for (const double rate : {44100.0, 48000.0, 50000.0, 96000.0})
        EXPECT_TRUE(device.supports(rate)) << rate;
    for (const double rate : {44099.0, 44101.0, 47999.0, 96000.5, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_FALSE(device.supports(rate)) << rate;
}

} // namespace
} // namespace velto
