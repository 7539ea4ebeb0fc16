// The simulated world behaves as a system does, or the tests that rest on it prove nothing.
#include "Simulation/SimulatedAudioSystem.h"

#include "Tests/Support/Machine.h"

#include <gmock/gmock.h>

namespace velto {
namespace {

using testing::IsEmpty;
using testing::UnorderedElementsAre;
using Operation = CoreAudioOperation;

OSStatus statusOf(auto call) {
    try {
        call();
        return noErr;
    } catch (const AudioManagerError& error) {
        return error.status().value_or(-1);
    }
}

using SimulatedAudioSystemTests = MachineTest;

TEST_F(SimulatedAudioSystemTests, FailuresComeToPassOnceOrAlwaysOrAreMissed) {
    plugUsualOutputs();
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
