#include "VeltoCore/CoreAudio/AudioManagerError.h"
#include "VeltoCore/Sync/LatencyEstimator.h"
#include "VeltoCore/Sync/SystemMultiOutputEngine.h"

#include <gmock/gmock.h>

#include <optional>

namespace velto {
namespace {

TEST(LatencyEstimatorTests, EstimatesFromWhatTheDeviceReports) {
    auto device = AudioOutputDevice::disconnected("usb", "Interface", AudioTransportType::Kind::usb);
    device.sampleRate = 48000;
    EXPECT_EQ(LatencyEstimator::estimate(device), std::nullopt);
    device.latencyFrames = 480;
    EXPECT_EQ(
        LatencyEstimator::estimate(device),
        (LatencyEstimate{
            .uid = "usb", .name = "Interface", .milliseconds = 10, .kind = SyncProfile::Kind::estimated}));
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
