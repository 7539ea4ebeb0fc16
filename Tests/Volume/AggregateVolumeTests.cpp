#include "VeltoCore/Volume/AggregateVolume.h"

#include "Tests/Support/Machine.h"
#include "Tests/Support/PlatformTextCollation.h"
#include "VeltoCore/Devices/AudioDeviceManager.h"
#include "VeltoCore/Volume/DeviceVolumeController.h"

#include <gmock/gmock.h>

#include <utility>

namespace velto {
namespace {

/// Two outputs, and an object with controls of its own that plays to both.
class AggregateVolumeTests : public MachineTest {
  protected:
    AggregateVolumeTests() {
        world.plug({.uid = "left", .name = "Left", .volume = 0.8F, .isMuted = false});
        world.plug({.uid = "right", .name = "Right", .volume = 0.4F, .isMuted = false});
        both = world.plug({.uid = "both", .name = "Both", .volume = 1.0F, .isMuted = true});
        const AudioDeviceManager devices(world, loop, *collation);
        outputs = {devices.device("left").value(), devices.device("right").value()};
        track();
    }
    ~AggregateVolumeTests() override { controller.stopTracking(); }

    void track() {
        controller.track(outputs, both);
        loop.runReady();
    }
    /// Somebody does something, and all hear of it.
    void after(auto act) {
        act();
        loop.runReady();
    }
    float volume(const std::string& uid) const { return world.device(uid).volume.value(); }
    bool isMuted(const std::string& uid) const { return world.device(uid).isMuted.value(); }
    void expectVolumes(float left, float right, float shown, const char* when) {
        EXPECT_NEAR(volume("left"), left, 1e-4F) << when;
        EXPECT_NEAR(volume("right"), right, 1e-4F) << when;
        EXPECT_NEAR(volume("both"), shown, 1e-4F) << when;
    }
    void expectMuted(bool left, bool right, bool shown, const char* when) {
        EXPECT_EQ(isMuted("left"), left) << when;
        EXPECT_EQ(isMuted("right"), right) << when;
        EXPECT_EQ(isMuted("both"), shown) << when;
    }

    const std::unique_ptr<TextCollation> collation = makePlatformTextCollation();
    std::vector<AudioOutputDevice> outputs;
    AudioObjectID both = kAudioObjectUnknown;
    DeviceVolumeController controller{world};
};

TEST_F(AggregateVolumeTests, IsTheMasterVolumeWhoeverTurnsIt) {
    expectVolumes(0.8F, 0.4F, 0.8F, "set from the outputs, which keep theirs");
    after([&] { world.setVolume("both", 0.4F); });
    expectVolumes(0.4F, 0.2F, 0.4F, "a desktop's key");
    after([&] { controller.setMasterVolume(0.6F); });
    expectVolumes(0.6F, 0.3F, 0.6F, "the panel");
    after([&] { world.setVolume("right", 0.9F); });
    expectVolumes(0.6F, 0.9F, 0.9F, "a button on the output");
    after([&] { world.setVolume("left", 1.3F); });
    expectVolumes(1.3F, 0.9F, 1.0F, "amplified by somebody else: shown as full, left as it is");
    after([&] { world.setVolume("both", 0.65F); });
    expectVolumes(0.65F, 0.45F, 0.65F, "and scaled from there");
    after([&] { world.setVolume("both", 1.4F); });
    expectVolumes(1, 0.45F / 0.65F, 1, "Velto itself sets none above full");
    after([&] {
        world.unplug("left");
        track();
    });
    EXPECT_NEAR(volume("both"), 0.45F / 0.65F, 1e-4F) << "of what is left";
}

TEST_F(AggregateVolumeTests, AHeldKeyEndsWhereItsSliderWould) {
    // Hardware that rounds answers each step with another value than was asked.
    world.change("left", [](SimulatedDevice& device) { device.volumeStep = 1.0F / 16; });
    loop.runReady();
    float slider = 0.8F;
    for (int i = 0; i < 12; ++i) {
        slider -= 0.05F;
        after([&] { world.setVolume("both", slider); });
        EXPECT_NEAR(volume("both"), slider, 1e-4F) << "nothing pushes back";
    }
    EXPECT_NEAR(volume("right"), 0.1F, 0.02F) << "in proportion, as far as the other's rounding lets it";
    for (int i = 0; i < 12; ++i)
        after([&] { world.setVolume("both", slider += 0.05F); });
    EXPECT_NEAR(volume("both"), 0.8F, 1e-4F) << "up again";
    EXPECT_NEAR(volume("right"), 0.4F, 0.02F);
}

TEST_F(AggregateVolumeTests, TheNextChangeIsNotUndoneByTheOneBefore) {
    // While the outputs are turned for the first, the second is there, but nobody has heard of it yet.
    world.setVolume("both", 0.6F);
    world.calls.atCall(4, [&] { world.setVolume("both", 0.5F); });
    loop.runReady();
    expectVolumes(0.5F, 0.25F, 0.5F, "the last one counts");
}

TEST_F(AggregateVolumeTests, MutesBothAndUnmutesWhatItMuted) {
    expectMuted(false, false, false, "set from the outputs");
    after([&] { world.setMuted("right", true); });
    after([&] { world.setMuted("both", true); });
    expectMuted(true, true, true, "the key");
    after([&] { world.setMuted("both", false); });
    expectMuted(false, true, false, "the one that was muted by itself stays so");
    after([&] { controller.setMuted(true, "left"); });
    expectMuted(true, true, true, "all are muted, and that shows");
    int told = 0;
    const auto subscription = controller.observeAdjustments([&] { ++told; });
    after([&] {
        world.setVolume("both", 0.6F);
        world.setMuted("both", false);
    });
    expectMuted(false, false, false, "then the key unmutes all");
    EXPECT_EQ(told, 1) << "of four controls that were turned at once";
    after([&] { world.setMuted("both", true); });
    after([&] { controller.setMuted(false, "left"); });
    expectMuted(false, true, false, "one is heard");
    after([&] { world.setMuted("both", true); });
    after([&] { world.setMuted("both", false); });
    expectMuted(false, false, false, "what the key had muted before comes along");
}

TEST_F(AggregateVolumeTests, ADesktopThatMutesEveryOutputLeavesNoneMuted) {
    // In any order, and each change heard of before the next.
    for (const std::vector<std::string>& order : {std::vector<std::string>{"left", "right", "both"},
                                                  {"both", "left", "right"},
                                                  {"left", "both", "right"}}) {
        for (const bool muted : {true, false}) {
            for (const std::string& uid : order)
                after([&] { world.setMuted(uid, muted); });
            expectMuted(muted, muted, muted, order.front().c_str());
        }
    }
}

} // namespace
} // namespace velto
