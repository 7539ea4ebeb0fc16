#include "Tests/HAL/HALTest.h"

#include <cmath>
#include <limits>

namespace velto {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;

constexpr auto virtualVolume = kAudioHardwareServiceDeviceProperty_VirtualMainVolume;
constexpr auto volume = kAudioDevicePropertyVolumeScalar;
constexpr auto mute = kAudioDevicePropertyMute;

class SystemCoreAudioClientTest : public HALTest {};

TEST_F(SystemCoreAudioClientTest, NumbersAreReadAndWrittenInTheirOwnTypes) {
    using Range = ::AudioValueRange;
    constexpr double none = std::numeric_limits<double>::quiet_NaN();
    const auto rate = global(kAudioDevicePropertyNominalSampleRate);
    hal.set(device, rate, 44100.0);
    EXPECT_EQ(client.nominalSampleRate(device), 44100);
    client.setNominalSampleRate(device, 96000);
    EXPECT_EQ(hal.value<double>(device, rate), 96000);
    hal.set(device, output(kAudioDevicePropertyLatency), UInt32{0xFFFFFFFF});
    EXPECT_THAT(client.outputLatencyFrames(device), Optional(std::int64_t{0xFFFFFFFF}));
    hal.set(device, global(kAudioDevicePropertyAvailableNominalSampleRates),
            std::vector<Range>{{44100, 44100}, {48000, 44100}, {none, 1}, {1, none}, {48000, 96000}});
    EXPECT_THAT(client.availableSampleRates(device),
                ElementsAre(SampleRateRange{44100, 44100}, SampleRateRange{48000, 96000}));
}

TEST_F(SystemCoreAudioClientTest, OnlyMuteAndDriftTakeAnyValueForYes) {
    for (const UInt32 value : {0u, 1u, 2u, 0x80000000u}) {
        hal.set(device, global(kAudioDevicePropertyDeviceIsAlive), value);
        hal.set(device, global(kAudioDevicePropertyIsHidden), value);
        hal.set(device, global(kAudioDevicePropertyDeviceIsRunningSomewhere), value);
        hal.set(device, global(kAudioSubDevicePropertyDriftCompensation), value);
        hal.set(device, output(mute), value);
        EXPECT_EQ(client.isAlive(device), value == 1);
        EXPECT_EQ(client.isHidden(device), value == 1);
        EXPECT_EQ(client.isRunningSomewhere(device), value == 1);
        EXPECT_EQ(client.subDeviceDriftCompensation(device), value != 0);
        EXPECT_EQ(client.outputMute(device), value != 0);
    }
    EXPECT_TRUE(client.supportsSubDeviceDriftCompensation(device));
}

TEST_F(SystemCoreAudioClientTest, CreatesAndDestroysAggregates) {
    AggregateDeviceDescription description{.uid = "agg",
                                           .name = "Küche & Bad",
                                           .subDevices = {{"z", true}, {"a", false}},
                                           .mainSubDeviceUID = "a",
                                           .isStacked = true,
                                           .isPrivate = false};
    EXPECT_EQ(client.createAggregateDevice(description), 100u);
    EXPECT_EQ(hal.composition, R"({"master": "a", "name": "Küche & Bad", "private": 0, "stacked": 1, )"
                               R"("subdevices": [{"drift": 1, "uid": "z"}, {"drift": 0, "uid": "a"}], )"
                               R"("uid": "agg"})");
    client.destroyAggregateDevice(100);
    EXPECT_THAT(hal.destroyedAggregates, ElementsAre(100));

    hal.nextAggregateID = 0;
    try {
        client.createAggregateDevice(description);
        ADD_FAILURE() << "an invalid device passed for one";
    } catch (const AudioManagerError& error) {
        EXPECT_EQ(error,
                  AudioManagerError::aggregateCreationFailed("Core Audio returned an invalid device."));
    }

    hal.calls.clear();
    description.name = "broken \xFF text";
    EXPECT_EQ(statusThrown([&] { client.createAggregateDevice(description); }),
              kAudioHardwareUnspecifiedError);
    EXPECT_THAT(hal.calls, IsEmpty());
}

TEST_F(SystemCoreAudioClientTest, VolumeIsAtTheFirstMainControlElseAtChannels1And2) {
    const auto expectVolumeAt = [&](std::vector<AudioObjectPropertyAddress> places) {
        EXPECT_TRUE(client.supportsOutputVolume(device));
        for (const auto& place : places)
            hal.set(device, place, 0.25f);
        client.setOutputVolume(device, 0.5f);
        EXPECT_EQ(client.outputVolume(device), 0.5f);
        for (const auto& place : places)
            EXPECT_EQ(hal.value<float>(device, place), 0.5f);
        const auto token = client.addOutputVolumeListener(device, [] {});
        EXPECT_EQ(token->address, places.front());
        client.removePropertyListener(token);
        for (const auto& place : places)
            hal.remove(device, place);
    };
    for (const AudioObjectPropertyElement channel : {0u, 1u, 2u, 3u})
        hal.set(device, output(volume, channel), 0.75f);
    hal.set(device, output(virtualVolume), 0.75f);

    expectVolumeAt({output(virtualVolume)});
    EXPECT_EQ(hal.value<float>(device, output(volume)), 0.75f); // what lies behind was left alone
    expectVolumeAt({output(volume)});
    EXPECT_EQ(hal.value<float>(device, output(volume, 1)), 0.75f);
    expectVolumeAt({output(volume, 1), output(volume, 2)});
    EXPECT_FALSE(client.supportsOutputVolume(device)); // channel 3 is none of ours
    hal.set(device, output(volume, 2), 0.75f);
    expectVolumeAt({output(volume, 2)});
}

TEST_F(SystemCoreAudioClientTest, ChannelVolumesReadAsTheLoudestAndStopAtTheFirstFailedWrite) {
    hal.set(device, output(volume, 1), 0.6f);
    hal.set(device, output(volume, 2), 0.3f);
    EXPECT_EQ(client.outputVolume(device), 0.6f);
    hal.set(device, output(volume, 1), 0.3f);
    hal.set(device, output(volume, 2), 0.6f);
    EXPECT_EQ(client.outputVolume(device), 0.6f);

    const auto expectAfterFailureOf = [&](std::size_t write, float first) {
        hal.fail(write, kAudioHardwareNotReadyError);
        EXPECT_EQ(statusThrown([&] { client.setOutputVolume(device, 0.5f); }), kAudioHardwareNotReadyError);
        EXPECT_EQ(hal.value<float>(device, output(volume, 1)), first);
        EXPECT_EQ(hal.value<float>(device, output(volume, 2)), 0.6f);
    };
    expectAfterFailureOf(0, 0.3f);
    expectAfterFailureOf(1, 0.5f); // what was written stays

    hal.set(device, output(volume, 2), 0.6f).deliveredSize = 3;
    EXPECT_EQ(statusThrown([&] { client.outputVolume(device); }), kAudioHardwareBadPropertySizeError);
}

TEST_F(SystemCoreAudioClientTest, VolumesStayFromZeroToOne) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    const std::vector<std::pair<float, float>> cases{
        {1.7f, 1},      {-0.2f, 0},         {0, 0},          {1, 1}, {infinity, 1},
        {-infinity, 0}, {std::nanf(""), 0}, {0.001f, 0.001f}};
    for (const auto& [volumeGiven, expected] : cases) {
        hal.set(device, output(virtualVolume), volumeGiven);
        EXPECT_EQ(client.outputVolume(device), expected);
        client.setOutputVolume(device, volumeGiven);
        EXPECT_EQ(hal.value<float>(device, output(virtualVolume)), expected);
    }
}

TEST_F(SystemCoreAudioClientTest, MuteIsAtTheMainElementElseAtElement1) {
    for (const AudioObjectPropertyElement element : {0u, 1u, 2u})
        hal.set(device, output(mute, element), UInt32{0});
    for (const AudioObjectPropertyElement element : {0u, 1u}) {
        EXPECT_TRUE(client.supportsOutputMute(device));
        client.setOutputMute(device, true);
        EXPECT_EQ(hal.value<UInt32>(device, output(mute, element)), 1u);
        EXPECT_EQ(hal.value<UInt32>(device, output(mute, element + 1)), 0u);
        EXPECT_TRUE(client.outputMute(device));
        client.setOutputMute(device, false);
        EXPECT_FALSE(client.outputMute(device));
        const auto token = client.addOutputMuteListener(device, [] {});
        EXPECT_EQ(token->address, output(mute, element));
        client.removePropertyListener(token);
        hal.remove(device, output(mute, element));
    }
    EXPECT_FALSE(client.supportsOutputMute(device));
}

TEST_F(SystemCoreAudioClientTest, AListenerRunOffTheMainQueueTrips) {
    const auto token = client.addPropertyListener(device, mute, kAudioObjectPropertyScopeOutput, [] {});
    hal.listeners.front().block(0, nullptr);
    EXPECT_EQ(std::exchange(hal.faults, {}).size(), 1u);
    client.removePropertyListener(token);
}

TEST_F(SystemCoreAudioClientTest, ListenersAreToldApartByObjectScopeAndElement) {
    int calls = 0;
    const auto token =
        client.addPropertyListener(device, mute, kAudioObjectPropertyScopeOutput, 2, [&] { ++calls; });
    hal.notify(device, {output(mute), output(mute, 1), global(mute)});
    hal.notify(device + 1, {output(mute, 2)});
    hal.drainMainQueue();
    EXPECT_EQ(calls, 0);
    hal.notify(device, {output(mute, 2)});
    hal.drainMainQueue();
    EXPECT_EQ(calls, 1);
    client.removePropertyListener(token);
}

} // namespace

} // namespace velto
