#include "VeltoCore/CoreAudio/AudioManagerError.h"
#include "VeltoCore/Sync/LatencyEstimator.h"
#include "VeltoCore/Sync/OutputDelays.h"
#include "VeltoCore/Sync/SystemMultiOutputEngine.h"

#include <gmock/gmock.h>

#include <limits>
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

TEST(OutputDelaysTests, OnlyDifferencesOfWhatIsThereAndCanBeCount) {
    const auto delays = [](double a, double b) {
        return outputDelays(
            {{"a", "b"}, "a", {{"a", a}, {"b", b}, {"elsewhere", -500}}, SyncProfile::Kind::manual, {}});
    };
    const auto are = [](double a, double b) { return OutputDelays{{"a", a}, {"b", b}}; };
    EXPECT_EQ(delays(0, 0), are(0, 0));
    EXPECT_EQ(delays(50, 80), are(0, 30));
    EXPECT_EQ(delays(-20, 163.44), are(0, 183.4));
    EXPECT_EQ(delays(0.04, 0), are(0, 0));
    EXPECT_EQ(delays(1e300, -1e300), are(1000, 0));
    EXPECT_EQ(delays(std::numeric_limits<double>::quiet_NaN(), 12), are(0, 12));
    EXPECT_EQ(outputDelays({{}, "", {}, SyncProfile::Kind::manual, {}}), OutputDelays());

    // A person who turns them sees what was given.
    EXPECT_EQ(shownDelays({{"a", "b"}, "a", {{"a", 50}, {"b", 80}}, SyncProfile::Kind::manual, {}}),
              are(50, 80));
    EXPECT_EQ(shownDelays({{"a", "b"}, "a", {{"b", -80}}, SyncProfile::Kind::manual, {}}), are(80, 0));
}

} // namespace
} // namespace velto
