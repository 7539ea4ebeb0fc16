// The simulated world behaves as a system does, or the tests that rest on it prove nothing.
#include "Simulation/SimulatedAudioSystem.h"

#include "Tests/Support/Machine.h"

#include <gmock/gmock.h>

#include <chrono>
#include <set>
#include <string>
#include <vector>

namespace velto {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
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
    ~SimulatedAudioSystemTests() override {
        for (const auto& token : tokens)
            world.removePropertyListener(token);
    }

    /// Notes the text whenever the property changes.
    void listen(AudioObjectID object, AudioObjectPropertySelector selector, const std::string& text,
                AudioObjectPropertyScope scope = kAudioObjectPropertyScopeGlobal) {
        tokens.push_back(
            world.addPropertyListener(object, selector, scope, [this, text] { heard.push_back(text); }));
    }
    void listenToSystem() {
        listen(kAudioObjectSystemObject, kAudioHardwarePropertyDevices, "devices");
        listen(kAudioObjectSystemObject, kAudioHardwarePropertyDefaultOutputDevice, "default");
        listen(kAudioObjectSystemObject, kAudioHardwarePropertyDefaultSystemOutputDevice, "alert");
    }
    std::vector<std::string> takeHeard() {
        loop.runReady();
        return std::exchange(heard, {});
    }

    std::vector<PropertyListenerTokenRef> tokens;
    std::vector<std::string> heard;
};

TEST_F(SimulatedAudioSystemTests, LostOutputsAreReplacedAndEverybodyIsTold) {
    listenToSystem();
    world.unplug("usb");
    EXPECT_EQ(world.defaultOutputUID(), "builtin");
    EXPECT_EQ(world.alertOutputUID(), "hdmi");
    EXPECT_THAT(heard, IsEmpty()) << "listeners are called in later turns";
    EXPECT_THAT(takeHeard(), ElementsAre("devices", "default"));
    world.kill("builtin");
    EXPECT_EQ(world.defaultOutputUID(), "bluetooth");
    world.pickDefault("hdmi");
    world.unplug("hdmi");
    EXPECT_THAT(takeHeard(), ElementsAre("default", "default", "devices", "default", "alert"));
    world.unplug("bluetooth");
    EXPECT_EQ(world.defaultOutputUID(), "");
    world.plug(SimulatedDevice::microphone());
    EXPECT_EQ(world.defaultOutputUID(), "");
    world.replug("usb");
    EXPECT_EQ(world.defaultOutputUID(), "usb");
    EXPECT_EQ(statusOf([&] { world.setDefaultOutputDevice(world.objectID("microphone")); }),
              kAudioHardwareBadDeviceError);
}

TEST_F(SimulatedAudioSystemTests, AggregatesFollowTheirOutputs) {
    const AudioObjectID id = world.createAggregateDevice(both);
    EXPECT_EQ(statusOf([&] { world.createAggregateDevice(both); }), kAudioHardwareIllegalOperationError);
    listen(id, kAudioAggregateDevicePropertyActiveSubDeviceList, "active");
    world.setNominalSampleRate(id, 48000);
    EXPECT_EQ(world.device("usb").sampleRate, 48000);
    EXPECT_THAT(world.availableSampleRates(id),
                ElementsAre(SampleRateRange{44100, 44100}, SampleRateRange{48000, 48000}));

    world.unplug("builtin");
    EXPECT_EQ(world.aggregateActiveSubDeviceIDs(id).size(), 1U);
    EXPECT_THAT(world.aggregateFullSubDeviceUIDs(id), ElementsAre("usb", "builtin"));
    world.replug("builtin");
    EXPECT_EQ(world.aggregateActiveSubDeviceIDs(id).size(), 2U);
    EXPECT_THAT(takeHeard(), ElementsAre("active", "active"));

    world.pickDefault("both");
    world.pickAlertOutput("both");
    world.destroyAggregateDevice(id);
    EXPECT_EQ(world.defaultOutputUID(), "builtin");
    EXPECT_EQ(world.alertOutputUID(), "builtin");
    EXPECT_EQ(statusOf([&] { world.destroyAggregateDevice(id); }), kAudioHardwareBadObjectError);
}

TEST_F(SimulatedAudioSystemTests, ObjectIDsAreNeverGivenToAnother) {
    std::set<AudioObjectID> seen;
    const auto isNew = [&](AudioObjectID id) { return seen.insert(id).second; };
    const AudioObjectID usb = world.objectID("usb");
    EXPECT_TRUE(isNew(usb));
    for (int round = 0; round < 3; ++round) {
        const AudioObjectID aggregate = world.createAggregateDevice(both);
        EXPECT_TRUE(isNew(aggregate));
        for (const AudioObjectID subDevice : world.aggregateActiveSubDeviceIDs(aggregate))
            EXPECT_TRUE(isNew(subDevice));
        world.destroyAggregateDevice(aggregate);
        world.unplug("builtin");
        world.replugWithAnotherID("builtin");
        EXPECT_TRUE(isNew(world.objectID("builtin")));
    }
    world.unplug("usb");
    EXPECT_EQ(statusOf([&] { world.deviceName(usb); }), kAudioHardwareBadObjectError);
    world.replug("usb");
    EXPECT_EQ(world.objectID("usb"), usb);
    world.restartAudioService();
    EXPECT_TRUE(isNew(world.objectID("usb")));
}

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

TEST_F(SimulatedAudioSystemTests, ListenersStayUntilTheyAreRemoved) {
    listenToSystem();
    tokens.clear(); // dropping a token unregisters nothing
    EXPECT_EQ(world.listenerCount(), 3U);
    listen(kAudioObjectSystemObject, kAudioHardwarePropertyServiceRestarted, "restarted");
    listen(kAudioObjectSystemObject, kAudioHardwarePropertyDevices, "removed");
    world.rename("usb", "DAC");
    EXPECT_THAT(takeHeard(), IsEmpty());
    world.unplug("usb");
    world.removePropertyListener(tokens.back());
    EXPECT_THAT(takeHeard(), ElementsAre("devices", "default"))
        << "one removed before its turn is not called";

    world.createAggregateDevice(both);
    world.stopAudioService();
    EXPECT_EQ(statusOf([&] { world.allDeviceIDs(); }), kAudioHardwareNotRunningError);
    world.startAudioService();
    EXPECT_THAT(takeHeard(), ElementsAre("restarted"));
    EXPECT_EQ(world.listenerCount(), 1U);
    EXPECT_THAT(world.aggregates(), IsEmpty());
    log.clear();
    world.removePropertyListener(tokens.back());
    EXPECT_EQ(log.count("RemovePropertyListenerBlock failed"), 1U);
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
