#include "VeltoCore/Devices/AudioDeviceManager.h"

#include "Simulation/RecordingLogSink.h"
#include "Simulation/SimulatedAudioSystem.h"
#include "Simulation/SimulatedMainActor.h"
#include "Tests/Support/PlatformTextCollation.h"

#include <gmock/gmock.h>

#include <chrono>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace velto {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using Operation = CoreAudioOperation;

/// A world with three outputs and a microphone, and a manager that was made in it.
class AudioDeviceManagerTests : public testing::Test {
  protected:
    AudioDeviceManagerTests() {
        world.plug(SimulatedDevice::usbInterface());
        world.plug(SimulatedDevice::microphone());
        world.plug(SimulatedDevice::builtInSpeakers());
        world.plug(SimulatedDevice::bluetoothHeadphones());
        makeManager();
    }
    ~AudioDeviceManagerTests() override { EXPECT_THAT(world.unconsumedFaults(), IsEmpty()); }

    void makeManager() {
        manager = std::make_unique<AudioDeviceManager>(world, actor, *collation);
        log.clear();
        world.calls.clear();
    }
    void observe() {
        manager->startObserving();
        changes = manager->onChange([this] { ++handlerCalls; });
    }
    std::vector<std::string> uids() const {
        std::vector<std::string> result;
        for (const auto& device : manager->devices())
            result.push_back(device.uid);
        return result;
    }
    std::string defaultUID() const {
        const auto& device = manager->defaultOutputDevice();
        return device ? device->uid : "none";
    }

    SimulatedMainActor actor;
    SimulatedAudioSystem world{actor};
    const std::unique_ptr<TextCollation> collation = makePlatformTextCollation();
    RecordingLogSink log;
    std::unique_ptr<AudioDeviceManager> manager;
    int handlerCalls = 0;
    Subscription changes;
};

TEST_F(AudioDeviceManagerTests, ListsEveryVisibleOutputInHardwareOrder) {
    SimulatedDevice hidden = SimulatedDevice::hdmiDisplay();
    hidden.isHidden = true;
    world.plug(hidden);
    world.makeAggregate(
        {.uid = "own", .name = "Velto Output", .subDevices = {{"usb"}}, .mainSubDeviceUID = "usb"});
    manager->refresh();
    EXPECT_THAT(uids(), ElementsAre("usb", "builtin", "bluetooth", "own"));
    EXPECT_THAT(manager->connectedUIDs(), ElementsAre("bluetooth", "builtin", "own", "usb"));
    EXPECT_EQ(defaultUID(), "usb");

    std::vector<std::string> selectable;
    for (const auto& device : manager->selectableDevices("usb"))
        selectable.push_back(device.uid);
    EXPECT_THAT(selectable, ElementsAre("builtin", "bluetooth"));
    EXPECT_EQ(log.lines().back(),
              "AudioDevices debug: Enumerated 4 output devices; default: " + world.device("usb").name);
}

TEST_F(AudioDeviceManagerTests, ReadsAllThatADeviceTells) {
    world.plug({.uid = "dac",
                .name = "DAC",
                .transport = fourCharCode("zzzz"),
                .sampleRates = {{44100, 96000}},
                .sampleRate = 88200,
                .outputChannels = 6,
                .manufacturer = "Acme",
                .latencyFrames = 120,
                .safetyOffsetFrames = 24,
                .volume = 0.5F,
                .isMuted = false});
    manager->refresh();
    const AudioOutputDevice expected{.deviceID = world.objectID("dac"),
                                     .uid = "dac",
                                     .name = "DAC",
                                     .transportType = AudioTransportType(fourCharCode("zzzz")),
                                     .isConnected = true,
                                     .sampleRate = 88200,
                                     .availableSampleRates = {{44100, 96000}},
                                     .outputChannelCount = 6,
                                     .manufacturer = "Acme",
                                     .latencyFrames = 120,
                                     .safetyOffsetFrames = 24,
                                     .hasVolumeControl = true};
    EXPECT_EQ(manager->device("dac"), expected);
    EXPECT_EQ(manager->device(world.objectID("dac")), expected);
    EXPECT_EQ(manager->device("DAC"), std::nullopt);
    EXPECT_EQ(manager->device(AudioObjectID{9999}), std::nullopt);
    EXPECT_EQ(manager->device("usb")->hasVolumeControl, false);
}

TEST_F(AudioDeviceManagerTests, DefaultOutputFollowsTheRuleOfTheList) {
    world.change("usb", [](SimulatedDevice& device) { device.isListed = false; });
    manager->refresh();
    EXPECT_THAT(uids(), ElementsAre("builtin", "bluetooth"));
    EXPECT_EQ(defaultUID(), "usb") << "not in the list, but there";

    world.change("usb", [](SimulatedDevice& device) { device.isHidden = true; });
    manager->refresh();
    EXPECT_EQ(defaultUID(), "none");
    for (const char* uid : {"usb", "builtin", "bluetooth"})
        world.unplug(uid);
    log.clear();
    manager->refresh();
    EXPECT_EQ(defaultUID(), "none");
    EXPECT_THAT(log.lines(), ElementsAre("AudioDevices debug: Enumerated 0 output devices; default: none"));
}

TEST_F(AudioDeviceManagerTests, TellsWhatComesAndGoes) {
    observe();
    world.plug(SimulatedDevice::hdmiDisplay());
    actor.runReady();
    EXPECT_EQ(log.linesWith("connected"),
              std::vector{"AudioDevices notice: Device connected: " + world.device("hdmi").name});
    EXPECT_EQ(handlerCalls, 1);

    log.clear();
    world.unplug("hdmi");
    actor.runReady();
    EXPECT_THAT(log.linesWith("connected"), ElementsAre("AudioDevices notice: Device disconnected: hdmi"));
    EXPECT_EQ(handlerCalls, 2);

    log.clear();
    world.pickDefault("bluetooth");
    actor.runReady();
    EXPECT_EQ(defaultUID(), "bluetooth");
    EXPECT_EQ(log.count("connected"), 0U);
    EXPECT_EQ(handlerCalls, 3);
}

TEST_F(AudioDeviceManagerTests, RemembersTheLatestAppearance) {
    observe();
    world.plug(SimulatedDevice::hdmiDisplay());
    actor.runReady();
    actor.advance(5s);
    EXPECT_TRUE(manager->wasRecentlyConnected("hdmi", 5));
    actor.advance(1s);
    EXPECT_FALSE(manager->wasRecentlyConnected("hdmi", 5));
    EXPECT_FALSE(manager->wasRecentlyConnected("usb", 1000)) << "there from the start";
    EXPECT_FALSE(manager->wasRecentlyConnected("absent", 1000));

    world.unplug("hdmi");
    world.unplug("bluetooth");
    actor.runReady();
    actor.advance(60s);
    world.replugWithAnotherID("hdmi");
    world.replug("bluetooth");
    actor.runReady();
    EXPECT_TRUE(manager->wasRecentlyConnected("hdmi", 0));
    EXPECT_TRUE(manager->wasRecentlyConnected("bluetooth", 0));
    EXPECT_EQ(manager->device("hdmi")->deviceID, world.objectID("hdmi"));
}

TEST_F(AudioDeviceManagerTests, ExplicitRefreshDoesNotSwallowAReconnection) {
    observe();
    world.unplug("bluetooth");
    manager->refresh();
    actor.advance(60s);
    world.replug("bluetooth");
    manager->refresh();
    EXPECT_TRUE(manager->wasRecentlyConnected("bluetooth", 0));
    const int calls = handlerCalls;
    EXPECT_EQ(log.count("connected"), 0U) << "messages and handlers belong to the notification";
    actor.runReady();
    EXPECT_EQ(handlerCalls, calls + 1);
}

TEST_F(AudioDeviceManagerTests, ListThatCannotBeReadLeavesTheOldOne) {
    observe();
    world.unplug("bluetooth");
    world.calls.failNext(Operation::allDeviceIDs, kAudioHardwareNotRunningError);
    actor.runReady();
    EXPECT_THAT(uids(), ElementsAre("usb", "builtin", "bluetooth"));
    EXPECT_EQ(defaultUID(), "usb");
    EXPECT_EQ(log.count("AudioDevices error: Failed to read the devices: "), 1U);
    EXPECT_EQ(handlerCalls, 1);
    world.calls.failNext(Operation::allDeviceIDs, {.foreignError = "foreign"});
    manager->refresh();
    EXPECT_EQ(uids().size(), 3U);
    manager->refresh();
    EXPECT_EQ(uids().size(), 2U);
}

TEST_F(AudioDeviceManagerTests, AFirstListThatCannotBeReadMakesNothingNew) {
    world.calls.failNext(Operation::allDeviceIDs, kAudioHardwareNotRunningError);
    makeManager();
    EXPECT_EQ(manager->knownUIDs(), std::nullopt);
    observe();
    world.pickDefault("bluetooth");
    actor.runReady();
    EXPECT_EQ(uids().size(), 3U);
    EXPECT_FALSE(manager->wasRecentlyConnected("bluetooth", 1000));
    EXPECT_EQ(log.count("connected"), 0U);
}

TEST_F(AudioDeviceManagerTests, AKnownDeviceKeepsWhatCannotBeReadAndANewcomerIsLeftOut) {
    observe();
    const auto before = manager->devices();
    for (const auto operation :
         {Operation::deviceUID, Operation::deviceName, Operation::outputChannelCount,
          Operation::transportType, Operation::nominalSampleRate, Operation::availableSampleRates}) {
        for (const bool isForeign : {false, true}) {
            const auto fail = [&] {
                for (int read = 0; read < (operation == Operation::deviceUID ? 2 : 1); ++read)
                    world.calls.failNext(operation, {.status = kAudioHardwareBadDeviceError,
                                                     .foreignError = isForeign ? "foreign" : ""});
            };
            fail();
            manager->handleChange();
            EXPECT_EQ(manager->devices(), before) << name(operation);
        }
    }
    EXPECT_EQ(log.count("connected"), 0U);
    EXPECT_FALSE(manager->wasRecentlyConnected("usb", 1000));

    const auto isLeftOut = [&] {
        world.calls.failNext(Operation::deviceName, kAudioHardwareBadDeviceError);
        manager->refresh();
        return !manager->device("usb");
    };
    EXPECT_FALSE(isLeftOut());
    world.change("usb", [](SimulatedDevice& device) { device.isAlive = false; });
    EXPECT_TRUE(isLeftOut());
    EXPECT_TRUE(isLeftOut()) << "it is a newcomer by now";
    world.change("usb", [](SimulatedDevice& device) { device.isAlive = true; });
    manager->refresh();
    manager->handleServiceRestart();
    EXPECT_TRUE(isLeftOut()) << "an object ID of before the restart may be another device's";
}

TEST_F(AudioDeviceManagerTests, PropertiesOfANewcomerThatCannotBeReadAreUnknown) {
    const auto read = [this] {
        makeManager();
        return manager->device("usb").value();
    };
    world.calls.failNext(Operation::transportType, kAudioHardwareUnspecifiedError);
    EXPECT_EQ(read().transportType, AudioTransportType(0));
    world.calls.failNext(Operation::nominalSampleRate, {.foreignError = "foreign"});
    EXPECT_EQ(read().sampleRate, 0);
    world.calls.failNext(Operation::availableSampleRates, kAudioHardwareUnspecifiedError);
    EXPECT_THAT(read().availableSampleRates, IsEmpty());
    for (const auto operation : {Operation::deviceManufacturer, Operation::outputLatencyFrames,
                                 Operation::outputSafetyOffsetFrames, Operation::supportsOutputVolume})
        world.calls.failNext(operation, kAudioHardwareUnspecifiedError);
    EXPECT_EQ(read().uid, "usb");
    world.setSampleRate("usb", std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(read().sampleRate, 0);
}

TEST_F(AudioDeviceManagerTests, DevicesAndDefaultOutputAreToldTogether) {
    observe();
    std::vector<std::string> seen;
    const auto look = [&] { seen.push_back(defaultUID() + " of " + std::to_string(uids().size())); };
    const Subscription first = manager->observeDevices(look);
    const Subscription second = manager->observeDefaultOutputDevice(look);
    world.unplug("usb");
    manager->handleChange();
    EXPECT_THAT(seen, ElementsAre("builtin of 2", "builtin of 2"));
    actor.runReady();
}

TEST_F(AudioDeviceManagerTests, MayBeEndedByWhomeverItTells) {
    using Watch = std::function<void(AudioDeviceManager&, std::function<void()>)>;
    std::vector<Subscription> subscriptions;
    const std::vector<Watch> watches{
        [&](auto& from, auto end) { subscriptions.push_back(from.observeDevices(end)); },
        [&](auto& from, auto end) { subscriptions.push_back(from.observeDefaultOutputDevice(end)); },
        [&](auto& from, auto end) { subscriptions.push_back(from.onChange(end)); },
    };
    for (const Watch& watch : watches) {
        makeManager();
        observe();
        watch(*manager, [&] {
            manager.reset();
            world.faults.notifiesSynchronously = true;
            world.pickDefault("bluetooth"); // tells the listeners of the one that is gone
        });
        world.unplug("usb");
        actor.runReady();
        EXPECT_EQ(manager, nullptr);
        world.faults.notifiesSynchronously = false;
        world.replug("usb");
        world.pickDefault("usb");
    }
}

TEST_F(AudioDeviceManagerTests, ObserversHearOfRealChangesOnly) {
    int changes = 0;
    const Subscription first = manager->observeDevices([&] { ++changes; });
    const Subscription second = manager->observeDefaultOutputDevice([&] { ++changes; });
    manager->refresh();
    EXPECT_EQ(changes, 0);
    world.rename("bluetooth", "Renamed");
    manager->refresh();
    EXPECT_EQ(changes, 1);
}

} // namespace
} // namespace velto
