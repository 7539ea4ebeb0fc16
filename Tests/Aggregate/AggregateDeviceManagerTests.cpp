#include "VeltoCore/Aggregate/AggregateDeviceManager.h"

#include "Tests/Support/Program.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

namespace velto {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using Operation = CoreAudioOperation;
using Error = AudioManagerError;

class AggregateDeviceManagerTests : public ProgramTest {
  protected:
    AudioOutputDevice device(const std::string& uid) { return program->devices.device(uid).value(); }
    Started<AggregateDeviceInfo> create(const std::string& first, const std::string& second,
                                        std::optional<double> rate = std::nullopt) {
        return program->finish(program->aggregates.createAggregate(device(first), device(second), "Both",
                                                                   rate, ClockStrategy::automatic));
    }
    Started<void> destroy(AudioObjectID id) {
        return program->finish(program->aggregates.destroyAggregate(id));
    }
    std::vector<bool> drift() {
        std::vector<bool> result;
        const auto aggregates = world.aggregates();
        for (const auto& member : aggregates.at(0).members)
            result.push_back(member.driftCompensation);
        return result;
    }
    std::vector<std::string> aggregateLog() { return log.linesWith("AggregateDevice "); }
};

TEST_F(AggregateDeviceManagerTests, MakesOneMultiOutputDeviceOfTheGroup) {
    const auto info = create("usb", "bluetooth").value();
    EXPECT_EQ(info, (AggregateDeviceInfo{world.objectID("com.corlent.velto.aggregate"),
                                         "com.corlent.velto.aggregate", "usb", 48000}));
    EXPECT_EQ(world.aggregates().front().description,
              (AggregateDeviceDescription{.uid = "com.corlent.velto.aggregate",
                                          .name = "Both",
                                          .subDevices = {{"usb", false}, {"bluetooth", true}},
                                          .mainSubDeviceUID = "usb",
                                          .isStacked = true,
                                          .isPrivate = false}));
    EXPECT_THAT(
        aggregateLog(),
        ElementsAre("AggregateDevice info: Set USB DAC sample rate 44100.000000 -> 48000.000000 Hz",
                    "AggregateDevice info: Creating aggregate com.corlent.velto.aggregate with USB DAC "
                    "+ Headphones, master USB DAC, 48000.000000 Hz",
                    "AggregateDevice debug: Sub device usb: drift compensation false",
                    "AggregateDevice debug: Sub device bluetooth: drift compensation true"));
    // The rate of the headphones was right already, and so was the aggregate's.
    EXPECT_EQ(world.calls.count(Operation::setNominalSampleRate), 1);

    // Group order holds though the second is the clock.
    destroy(info.deviceID).value();
    const auto second = create("bluetooth", "hdmi").value();
    EXPECT_EQ(second.masterUID, "hdmi");
    EXPECT_THAT(drift(), ElementsAre(true, false));
    destroy(second.deviceID).value();
}

TEST_F(AggregateDeviceManagerTests, ChecksEverythingBeforeItChangesAnything) {
    const auto twice = create("usb", "usb");
    EXPECT_EQ(twice.error(), Error::sameDeviceSelected());
    EXPECT_THAT(world.calls.log(), IsEmpty());

    const auto leftOver = create("usb", "bluetooth").value();
    const AudioOutputDevice gone = device("hdmi");
    world.unplug("hdmi");
    const auto missing = program->finish(program->aggregates.createAggregate(
        device("usb"), gone, "Both", std::nullopt, ClockStrategy::automatic));
    EXPECT_EQ(missing.error(), Error::deviceNotFound("Display"));
    world.kill("builtin");
    EXPECT_EQ(create("builtin", "usb").error(), Error::deviceNotFound("Built-in Speakers"));
    world.calls.failNext(Operation::deviceIDForUID, kAudioHardwareNotReadyError);
    EXPECT_EQ(create("usb", "bluetooth").error(), Error::coreAudioError(kAudioHardwareNotReadyError));
    EXPECT_TRUE(world.aggregates().front().deviceID == leftOver.deviceID) << "left-over still there";

    // A left-over goes before the rates are resolved.
    world.setSampleRates("bluetooth", {{16000, 16000}});
    program->devices.refresh();
    log.clear();
    EXPECT_EQ(create("usb", "bluetooth").error(), Error::incompatibleSampleRates("USB DAC", "Headphones"));
    EXPECT_THAT(aggregateLog(),
                ElementsAre("AggregateDevice notice: Found existing aggregate " +
                                std::to_string(leftOver.deviceID) + "; destroying before creating a new one",
                            "AggregateDevice info: Destroying aggregate device " +
                                std::to_string(leftOver.deviceID)));
    EXPECT_EQ(world.device("usb").sampleRate, 48000);
}

TEST_F(AggregateDeviceManagerTests, CreationFailuresCarryTheStatusAlone) {
    world.calls.failNext(Operation::createAggregateDevice, kAudioHardwareIllegalOperationError);
    EXPECT_EQ(create("usb", "hdmi").error(),
              Error::aggregateCreationFailed("Illegal audio hardware operation"));
    world.faults.createsInvalidDevice = true;
    EXPECT_EQ(create("usb", "hdmi").error(),
              Error::aggregateCreationFailed("Core Audio returned an invalid device."));
    world.faults.createsInvalidDevice = false;
    world.calls.failNext(Operation::createAggregateDevice, {.foreignError = "no memory"});
    EXPECT_THROW(create("usb", "hdmi").value(), std::runtime_error);

    const auto id = create("usb", "hdmi").value().deviceID;
    world.calls.failNext(Operation::destroyAggregateDevice, kAudioHardwareNotReadyError);
    EXPECT_EQ(destroy(id).error(), Error::aggregateDestroyFailed("Audio hardware is not ready"));
    destroy(id).value();
}

TEST_F(AggregateDeviceManagerTests, WaitsAreBoundedAndGoOn) {
    const auto elapsed = [this](auto act) {
        const auto before = loop.continuousNow();
        act();
        return loop.continuousNow() - before;
    };
    AudioObjectID id = 0;
    world.faults.aliveAfter = 120ms;
    EXPECT_EQ(elapsed([&] { id = create("usb", "hdmi").value().deviceID; }), 150ms);
    world.faults.aliveAfter = Duration();
    world.faults.lingersAfterDestroy = 250ms;
    EXPECT_EQ(elapsed([&] { destroy(id).value(); }), 300ms);

    world.faults.neverAlive = true;
    world.calls.clear();
    EXPECT_EQ(elapsed([&] { id = create("usb", "hdmi").value().deviceID; }), 1s);
    EXPECT_EQ(world.calls.count(Operation::isAlive), 2 + 20);
    EXPECT_TRUE(log.contains("AggregateDevice error: Aggregate " + std::to_string(id) +
                             " did not report alive within 1s"));
    world.faults.lingersAfterDestroy = 5s;
    world.calls.clear();
    const auto destroyed = program->begin(program->aggregates.destroyAggregate(id));
    loop.advance(3s);
    EXPECT_TRUE(destroyed.isDone());
    EXPECT_EQ(world.calls.count(Operation::deviceIDForUID), 30);
    EXPECT_TRUE(log.contains(
        "AggregateDevice error: Aggregate com.corlent.velto.aggregate still present 3s after destroy"));
    loop.runUntilIdle();
}

TEST_F(AggregateDeviceManagerTests, RatesThatCannotBeSetAreOnlyLogged) {
    world.calls.failNext(Operation::setNominalSampleRate, kAudioHardwareNotReadyError);
    world.calls.failNext(Operation::setNominalSampleRate, kAudioHardwareUnspecifiedError);
    const auto info = create("usb", "bluetooth").value();
    EXPECT_THAT(
        log.linesWith("AggregateDevice error"),
        ElementsAre("AggregateDevice error: Could not set sample rate on USB DAC: Core Audio reported an "
                    "error: Audio hardware is not ready",
                    "AggregateDevice error: Could not set aggregate sample rate: Core Audio reported an "
                    "error: Unspecified audio hardware error"));
    destroy(info.deviceID).value();

    // A slow device still reads its old rate: the aggregate is asked for the new one, which settles both.
    world.faults.slowRateChange = 400ms;
    const auto slow = create("usb", "bluetooth", 48000).value();
    loop.runUntilIdle();
    EXPECT_EQ(world.device("usb").sampleRate, 48000);
    EXPECT_EQ(world.aggregates().front().sampleRate, 48000);
    destroy(slow.deviceID).value();
}

TEST_F(AggregateDeviceManagerTests, WrongDriftCompensationIsCorrectedWherePossible) {
    world.faults.invertsDriftCompensation = true;
    auto id = create("usb", "bluetooth").value().deviceID;
    EXPECT_THAT(drift(), ElementsAre(false, true));
    EXPECT_TRUE(log.contains("AggregateDevice notice: Corrected drift compensation for usb to false"));
    destroy(id).value();

    // One that can't be read is no reason not to look for the other.
    world.calls.clear();
    id = create("usb", "bluetooth").value().deviceID;
    const auto search =
        std::ranges::find(world.calls.log().rbegin(), world.calls.log().rend(),
                          Operation::aggregateActiveSubDeviceIDs, &SimulatedCalls::Call::operation);
    const auto readOfFirst = static_cast<std::size_t>(search.base() - world.calls.log().begin());
    destroy(id).value();
    world.calls.failCall(readOfFirst, kAudioHardwareBadObjectError);
    id = create("usb", "bluetooth").value().deviceID;
    EXPECT_THAT(drift(), ElementsAre(false, true));
    destroy(id).value();

    world.calls.failNext(Operation::setSubDeviceDriftCompensation, kAudioHardwareNotReadyError);
    id = create("usb", "bluetooth").value().deviceID;
    EXPECT_THAT(drift(), ElementsAre(true, true));
    EXPECT_TRUE(log.contains("AggregateDevice error: Drift compensation for usb is true, expected false"));
    destroy(id).value();

    world.faults.plainSubDevices = true;
    world.calls.clear();
    id = create("usb", "bluetooth").value().deviceID;
    EXPECT_EQ(world.calls.count(Operation::setSubDeviceDriftCompensation), 0U) << "unknown to these";
    EXPECT_TRUE(
        log.contains("AggregateDevice error: Drift compensation for bluetooth is false, expected true"));
    world.faults.invertsDriftCompensation = false;
    destroy(id).value();
}

} // namespace
} // namespace velto
