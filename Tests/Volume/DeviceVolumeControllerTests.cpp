#include "VeltoCore/Volume/DeviceVolumeController.h"

#include "Tests/Support/Machine.h"
#include "Tests/Support/PlatformTextCollation.h"
#include "VeltoCore/Devices/AudioDeviceManager.h"

#include <gmock/gmock.h>

#include <limits>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace velto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Operation = CoreAudioOperation;

/// Two outputs with volume and mute, one with neither, and a controller that tracks none yet.
class DeviceVolumeControllerTests : public MachineTest {
  protected:
    DeviceVolumeControllerTests() {
        world.plug({.uid = "left", .name = "Left", .volume = 0.8F, .isMuted = false});
        world.plug({.uid = "right", .name = "Right", .volume = 0.4F, .isMuted = true});
        world.plug({.uid = "plain", .name = "Plain"});
        statesSubscription = controller->observeStates([this] { ++stateChanges; });
        adjustmentSubscription = controller->observeAdjustments([this] { ++adjustments; });
    }
    ~DeviceVolumeControllerTests() override {
        if (controller) controller->stopTracking();
    }

    void track(const std::vector<std::string>& uids) {
        const AudioDeviceManager devices(world, loop, *collation);
        for (const std::string& uid : uids) {
            if (const auto device = devices.device(uid)) known.insert_or_assign(uid, *device);
        }
        std::vector<AudioOutputDevice> tracked;
        for (const std::string& uid : uids)
            tracked.push_back(known.at(uid));
        controller->track(tracked);
        loop.runReady();
        stateChanges = 0;
        adjustments = 0;
        world.calls.clear();
        log.clear();
    }
    float volume(const std::string& uid) const { return controller->state(uid).value().volume; }
    bool isMuted(const std::string& uid) const { return controller->state(uid).value().isMuted; }

    const std::unique_ptr<TextCollation> collation = makePlatformTextCollation();
    std::map<std::string, AudioOutputDevice> known; // as they were when last there
    std::unique_ptr<DeviceVolumeController> controller = std::make_unique<DeviceVolumeController>(world);
    Subscription statesSubscription;
    Subscription adjustmentSubscription;
    int stateChanges = 0;
    int adjustments = 0;
};

TEST_F(DeviceVolumeControllerTests, MirrorsTheTrackedDevicesInTrackingOrder) {
    track({"left", "right"});
    world.unplug("right");
    track({"right", "plain", "left"});
    const AudioTransportType usb(kAudioDeviceTransportTypeUSB);
    EXPECT_THAT(controller->states(),
                ElementsAre(DeviceVolumeState{"right", "Right", usb, 0, false, false, false, false},
                            DeviceVolumeState{"plain", "Plain", usb, 0, false, false, false, true},
                            DeviceVolumeState{"left", "Left", usb, 0.8F, false, true, true, true}));
    EXPECT_THAT(world.listeners(), SizeIs(2)) << "only live devices with controls are listened to";
    EXPECT_EQ(controller->state("hdmi"), std::nullopt);

    controller->stopTracking();
    EXPECT_THAT(controller->states(), IsEmpty());
    EXPECT_THAT(world.listeners(), IsEmpty());
    EXPECT_EQ(stateChanges, 1);
    EXPECT_EQ(adjustments, 0);
}

TEST_F(DeviceVolumeControllerTests, FollowsEachDeviceThroughItsObjects) {
    track({"left", "right"});
    const auto listenersAtFirst = world.listeners();
    track({"right", "left"});
    EXPECT_EQ(world.listeners(), listenersAtFirst) << "neither removed nor added twice";

    world.unplug("left");
    world.replugWithAnotherID("left");
    track({"left"});
    world.setVolume("left", 0.2F);
    loop.runReady();
    EXPECT_EQ(volume("left"), 0.2F) << "also when its absence went unseen";
    EXPECT_THAT(world.listeners(), SizeIs(2));
    controller->setVolume(0.3F, "left");
    EXPECT_EQ(world.device("left").volume, 0.3F);
}

TEST_F(DeviceVolumeControllerTests, ChangesMadeElsewhereReachTheirOwnStateOnly) {
    track({"left", "right"});
    world.setVolume("left", 0.25F);
    world.setMuted("left", true);
    loop.runReady();
    EXPECT_EQ(volume("left"), 0.25F);
    EXPECT_TRUE(isMuted("left"));
    EXPECT_EQ(volume("right"), 0.4F);
    EXPECT_EQ(adjustments, 1) << "the first of the two listeners has read both";

    world.change("right", [](SimulatedDevice& device) { device.volume = device.volume.value() + 1e-7F; });
    loop.runReady();
    EXPECT_EQ(stateChanges, 2);
    EXPECT_EQ(adjustments, 1) << "a rounding error is nobody's change";

    world.setVolume("right", 0.9F);
    world.unplug("right");
    loop.runReady();
    EXPECT_FALSE(controller->state("right")->isConnected);
    EXPECT_EQ(adjustments, 1) << "a device that goes is not one whose volume was changed";
    controller->setVolume(0.5F, "right");
    EXPECT_EQ(world.calls.count(Operation::setOutputVolume), 0U) << "it is not there";
}

TEST_F(DeviceVolumeControllerTests, WhatCantBeReadStaysAsItWas) {
    world.calls.failNext(Operation::outputVolume, kAudioHardwareUnspecifiedError);
    track({"left"});
    EXPECT_EQ(volume("left"), 0);
    EXPECT_TRUE(controller->state("left")->supportsVolume);
    track({"left"});
    world.calls.failNext(Operation::outputVolume, kAudioHardwareUnspecifiedError);
    world.calls.failNext(Operation::outputMute, kAudioHardwareUnspecifiedError);
    world.setVolume("left", 0.1F);
    loop.runReady();
    EXPECT_EQ(volume("left"), 0.8F) << "as last read";

    world.calls.failNext(Operation::deviceIDForUID, kAudioHardwareUnspecifiedError);
    track({"left"});
    EXPECT_FALSE(controller->state("left")->isConnected);
    EXPECT_THAT(world.listeners(), IsEmpty());
    track({"left"});
    EXPECT_EQ(volume("left"), 0.1F);
}

TEST_F(DeviceVolumeControllerTests, SettersWriteThroughOrChangeNothing) {
    track({"left", "right", "plain"});
    controller->setVolume(1.4F, "left");
    EXPECT_EQ(volume("left"), 1);
    EXPECT_EQ(adjustments, 1);
    controller->setVolume(-1, "left");
    EXPECT_EQ(volume("left"), 0);
    controller->setVolume(std::numeric_limits<float>::quiet_NaN(), "right");
    EXPECT_EQ(volume("right"), 0);
    controller->setMuted(false, "right");
    EXPECT_FALSE(isMuted("right") || *world.device("right").isMuted);
    controller->setMuted(false, "right");
    EXPECT_EQ(adjustments, 4);
    loop.runReady();
    EXPECT_EQ(adjustments, 4) << "their own echo is no further change";

    world.calls.failNext(Operation::setOutputVolume, kAudioHardwareNotReadyError);
    controller->setVolume(0.6F, "left");
    controller->setMuted(true, "plain");
    EXPECT_EQ(volume("left"), 0);
    EXPECT_FALSE(isMuted("plain"));
    controller->setVolume(0.6F, "hdmi");
    EXPECT_EQ(log.count("Could not"), 2U);
    EXPECT_EQ(adjustments, 4);
}

TEST_F(DeviceVolumeControllerTests, MasterVolumeKeepsProportions) {
    track({"plain", "left", "right"});
    EXPECT_TRUE(controller->supportsMasterVolume());
    EXPECT_EQ(controller->masterVolume(), 0.8F);
    controller->setMasterVolume(0.5F);
    EXPECT_EQ(volume("left"), 0.5F);
    EXPECT_EQ(volume("right"), 0.25F);
    EXPECT_EQ(world.device("right").volume, 0.25F);

    controller->setMasterVolume(1.4F);
    world.calls.failNext(Operation::setOutputVolume, kAudioHardwareNotReadyError);
    controller->setMasterVolume(0.6F);
    EXPECT_EQ(volume("left"), 1);
    EXPECT_EQ(volume("right"), 0.3F) << "one that fails doesn't hold up the others";

    controller->setMasterVolume(-1);
    EXPECT_EQ(controller->masterVolume(), 0);
    controller->setVolume(0.0005F, "right");
    controller->setMasterVolume(0.3F);
    EXPECT_EQ(volume("left"), 0.3F);
    EXPECT_EQ(volume("right"), 0.3F) << "from silence there are no proportions";
    controller->setMasterVolume(0.001F);
    controller->setVolume(0, "left");
    controller->setMasterVolume(0.2F);
    EXPECT_EQ(volume("left"), 0.2F) << "0.001 still counts as silence";

    world.unplug("left");
    track({"plain", "left"});
    EXPECT_FALSE(controller->supportsMasterVolume());
    EXPECT_EQ(controller->masterVolume(), 0);
}

TEST_F(DeviceVolumeControllerTests, MasterVolumeIsUndisturbedByThoseWhoHearOfIt) {
    world.faults.notifiesSynchronously = true;
    track({"left", "right"});
    controller->setMasterVolume(0.4F);
    EXPECT_EQ(volume("left"), 0.4F);
    EXPECT_EQ(volume("right"), 0.2F);
    EXPECT_EQ(adjustments, 1) << "both are one change";

    world.calls.atCall(0, [this] { world.setMuted("left", true); });
    controller->setVolume(0.4F, "left");
    EXPECT_TRUE(isMuted("left")) << "what changes during the call is kept";

    const Subscription leaver = controller->observeStates([this] { controller->stopTracking(); });
    controller->setMasterVolume(0.1F);
    EXPECT_EQ(world.device("right").volume, 0.2F) << "tracking ended at the first change";
    EXPECT_THAT(controller->states(), IsEmpty());
}

TEST_F(DeviceVolumeControllerTests, SettingsOfPresets) {
    world.plug({.uid = "muteOnly", .name = "Mute Only", .isMuted = true});
    track({"left", "right", "plain", "muteOnly"});
    world.unplug("right");
    track({"left", "right", "plain", "muteOnly"});
    const DeviceVolumeController::Settings expected{
        {"left", {.volume = 0.8F, .isMuted = false}}, {"muteOnly", {.isMuted = true}}, {"plain", {}}};
    EXPECT_EQ(controller->currentSettings(), expected);

    controller->apply({{"left", {.volume = 0.3F, .delayMilliseconds = 20}},
                       {"muteOnly", {.volume = 0.3F, .isMuted = false}},
                       {"plain", {.volume = 0.3F, .isMuted = true}},
                       {"right", {.volume = 0.3F}},
                       {"absent", {.volume = 0.3F}}});
    loop.runReady();
    EXPECT_EQ(world.device("left").volume, 0.3F);
    EXPECT_EQ(volume("left"), 0.3F);
    EXPECT_FALSE(isMuted("left")) << "what the settings don't hold stays";
    EXPECT_FALSE(isMuted("muteOnly"));
    EXPECT_EQ(world.calls.count(Operation::setOutputVolume), 1U);
    EXPECT_THAT(log.linesWith("error"), IsEmpty());
    EXPECT_EQ(adjustments, 0) << "the preset's own settings are nobody's change";
    controller->setVolume(0.5F, "left");
    EXPECT_EQ(adjustments, 1);
}

TEST_F(DeviceVolumeControllerTests, WhatHardwareMakesOfAVolumeIsNobodysChange) {
    for (const bool isSynchronous : {false, true}) {
        world.change("left", [](SimulatedDevice& device) {
            device.volume = 0.8F;
            device.volumeStep = 1.0F / 16;
        });
        world.faults.notifiesSynchronously = isSynchronous;
        track({"left", "right"});
        const auto kept = [this] { return controller->currentSettings().at("left").volume; };
        const DeviceVolumeController::Settings preset{{"left", {.volume = 0.33F, .isMuted = false}}};
        for (int activation = 0; activation < 2; ++activation) { // the second finds the hardware there
            controller->apply(preset);
            loop.runReady();
            EXPECT_EQ(world.device("left").volume, 0.3125F);
            EXPECT_EQ(adjustments, 0);
            controller->setMuted(false, "left");
            track({"left", "right"});
            EXPECT_EQ(kept(), 0.33F);
        }
        controller->setMuted(false, "right");
        loop.runReady();
        EXPECT_EQ(adjustments, 1);
        EXPECT_EQ(kept(), 0.33F) << "another's change is no reason to forget it";

        world.setVolume("left", 0.375F); // one step, by somebody
        loop.runReady();
        EXPECT_EQ(adjustments, 2);
        EXPECT_EQ(kept(), 0.375F);
        controller->setVolume(0.7F, "left");
        loop.runReady();
        EXPECT_EQ(adjustments, 3) << "once for a slider too";
        EXPECT_EQ(kept(), 0.7F);
        world.calls.failNext(Operation::setOutputVolume, kAudioHardwareUnspecifiedError);
        controller->setVolume(0.1F, "left");
        EXPECT_EQ(kept(), 0.7F);
        world.setVolume("left", 0.1F);
        loop.runReady();
        EXPECT_EQ(adjustments, 4);
        EXPECT_EQ(kept(), 0.1F);
        world.setMuted("right", true);
        loop.runReady();
        controller->stopTracking();
        world.faults.notifiesSynchronously = false;
    }
}

TEST_F(DeviceVolumeControllerTests, LateNewsChangeNothing) {
    track({"left", "right"});
    for (int i = 0; i < 4; ++i) // so that they are called after the end
        world.calls.failNext(Operation::removePropertyListener, kAudioHardwareUnspecifiedError);
    controller->stopTracking();
    world.calls.clear();
    world.setVolume("left", 0.1F);
    loop.runReady();
    EXPECT_THAT(controller->states(), IsEmpty());
    EXPECT_EQ(world.calls.total(), 0U);
    world.programDies();

    track({"left", "right"});
    world.setVolume("left", 0.2F);
    world.setMuted("right", false);
    controller.reset(); // its listeners stay
    loop.runReady();
    EXPECT_THAT(world.listeners(), SizeIs(4));
    world.programDies();
}

} // namespace
} // namespace velto
