// The simulated world behaves as a system does, or the tests that rest on it prove nothing.
#include "Simulation/SimulatedAudioSystem.h"

#include "Tests/Support/Machine.h"

#include <gmock/gmock.h>

#include <chrono>

namespace velto {
namespace {

using namespace std::chrono_literals;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using Operation = CoreAudioOperation;

const AggregateDeviceDescription both{.uid = "both",
                                      .name = "Both",
                                      .subDevices = {{"usb", false}, {"builtin", true}},
                                      .mainSubDeviceUID = "usb"};

OSStatus statusOf(auto call) {
    try {
        call();
        return noErr;
    } catch (const AudioManagerError& error) {
        return error.status().value_or(-1);
    }
}

class SimulatedAudioSystemTests : public MachineTest {
  protected:
    SimulatedAudioSystemTests() { plugUsualOutputs(); }
};

TEST_F(SimulatedAudioSystemTests, TimedFaultsTakeTheirTime) {
    world.faults.aliveAfter = 100ms;
    world.faults.lingersAfterDestroy = 200ms;
    world.faults.slowRateChange = 300ms;
    const AudioObjectID id = world.createAggregateDevice(both);
    world.setNominalSampleRate(world.objectID("usb"), 96000);
    EXPECT_FALSE(world.isAlive(id));
    loop.advance(100ms);
    EXPECT_TRUE(world.isAlive(id));
    world.pickDefault("both");
    world.destroyAggregateDevice(id);
    EXPECT_EQ(world.defaultOutputUID(), "builtin") << "never a dead default";
    EXPECT_EQ(world.deviceID("both"), id);
    EXPECT_THAT(world.aggregates(), IsEmpty());
    EXPECT_EQ(statusOf([&] { world.createAggregateDevice(both); }), kAudioHardwareIllegalOperationError);
    loop.advance(199ms);
    EXPECT_EQ(world.deviceID("both"), id);
    EXPECT_EQ(world.nominalSampleRate(world.objectID("usb")), 44100);
    loop.advance(1ms);
    EXPECT_EQ(world.deviceID("both"), std::nullopt);
    EXPECT_EQ(world.nominalSampleRate(world.objectID("usb")), 96000);
}

TEST_F(SimulatedAudioSystemTests, FailuresComeToPassOnceOrAlwaysOrAreMissed) {
    const AudioObjectID usb = world.objectID("usb");
    world.calls.failNext(Operation::deviceName, kAudioHardwareNotReadyError);
    world.calls.failAlways(Operation::isAlive, kAudioHardwareNotReadyError);
    world.calls.failNext(Operation::setDefaultOutputDevice,
                         {.status = kAudioHardwareUnspecifiedError, .isAfterEffect = true});
    EXPECT_EQ(statusOf([&] { world.deviceName(usb); }), kAudioHardwareNotReadyError);
    EXPECT_EQ(world.deviceName(usb), "USB DAC");
    EXPECT_FALSE(world.isAlive(usb) || world.isAlive(usb));
    EXPECT_EQ(statusOf([&] { world.setDefaultOutputDevice(world.objectID("hdmi")); }),
              kAudioHardwareUnspecifiedError);
    EXPECT_EQ(world.defaultOutputUID(), "hdmi");
    EXPECT_THAT(world.unconsumedFaults(), IsEmpty());

    world.calls.failNext(Operation::outputMute, kAudioHardwareNotReadyError);
    world.calls.failCall(1, kAudioHardwareNotReadyError);
    world.faults.neverAlive = true;
    world.deviceName(usb);
    EXPECT_THAT(world.unconsumedFaults(),
                UnorderedElementsAre("neverAlive", "outputMute was to fail", testing::HasSubstr("call ")));
    world.calls.forgetFailures();
    world.faults = {};
}

} // namespace
} // namespace velto
