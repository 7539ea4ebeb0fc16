// The simulated world behaves as a system does, or the tests that rest on it prove nothing.
#include "Simulation/SimulatedAudioSystem.h"

#include "Tests/Support/Machine.h"

#include <gmock/gmock.h>

namespace velto {
namespace {

using testing::UnorderedElementsAre;
using Operation = CoreAudioOperation;

using SimulatedAudioSystemTests = MachineTest;

TEST_F(SimulatedAudioSystemTests, FaultsThatNeverCameToBearAreTold) {
    plugUsualOutputs();
    world.calls.failNext(Operation::outputMute, kAudioHardwareNotReadyError);
    world.calls.failCall(1, kAudioHardwareNotReadyError);
    world.faults.neverAlive = true;
    world.deviceName(world.objectID("usb"));
    EXPECT_THAT(world.unconsumedFaults(),
                UnorderedElementsAre("neverAlive", "outputMute was to fail", testing::HasSubstr("call ")));
    world.calls.forgetFailures();
    world.faults = {};
}

} // namespace
} // namespace velto
