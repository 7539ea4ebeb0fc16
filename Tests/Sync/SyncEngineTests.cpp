#include "VeltoCore/CoreAudio/AudioManagerError.h"
#include "VeltoCore/Sync/LatencyEstimator.h"
#include "VeltoCore/Sync/SystemMultiOutputEngine.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <optional>

namespace velto {
namespace {

AudioOutputDevice device(std::optional<std::int64_t> latency, std::optional<std::int64_t> safetyOffset,
                         double rate) {
    AudioOutputDevice device;
    device.uid = "usb";
    device.name = "Interface";
    device.latencyFrames = latency;
    device.safetyOffsetFrames = safetyOffset;
    device.sampleRate = rate;
    return device;
}

TEST(LatencyEstimatorTests, EstimatesFromWhatTheDeviceReports) {
    const LatencyEstimate expected{.uid = "usb",
                                   .name = "Interface",
                                   .milliseconds = 544.0 / 48000.0 * 1000.0,
                                   .kind = SyncProfile::Kind::estimated};
    EXPECT_EQ(LatencyEstimator::estimate(device(512, 32, 48000)), expected);
    EXPECT_EQ(LatencyEstimator::estimate(device(480, std::nullopt, 48000))->milliseconds, 10);
    EXPECT_EQ(LatencyEstimator::estimate(device(std::nullopt, 32, 48000)), std::nullopt);
    EXPECT_EQ(LatencyEstimator::estimate(device(512, 32, 0)), std::nullopt);
    EXPECT_EQ(LatencyEstimator::estimate(device(512, 32, -48000)), std::nullopt);
}

TEST(SystemMultiOutputEngineTests, AcceptsOnlyProfilesThatCorrectNothing) {
    SystemMultiOutputEngine engine;
    SyncProfile profile({"a", "b"}, "a", {{"a", 0.0}, {"b", 0.0}}, SyncProfile::Kind::manual, {});
    EXPECT_NO_THROW(engine.apply(profile));
    profile.corrections["b"] = 0.5;
    try {
        engine.apply(profile);
        ADD_FAILURE() << "applied";
    } catch (const AudioManagerError& error) {
        EXPECT_EQ(error, AudioManagerError::syncEngineUnavailable());
    }
    EXPECT_EQ(engine.name(), "System Multi-Output");
    EXPECT_EQ(engine.capabilities(), SyncEngineCapabilities{});
}

} // namespace
} // namespace velto
