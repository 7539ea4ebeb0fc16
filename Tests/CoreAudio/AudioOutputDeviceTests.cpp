#include "VeltoCore/CoreAudio/AudioOutputDevice.h"

#include <gmock/gmock.h>

#include <limits>

namespace velto {
namespace {

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
