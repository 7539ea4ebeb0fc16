#include "Tests/PipeWire/FakeCard.h"
#include "Tests/PipeWire/RealServer.h"
#include "Tests/PipeWire/ServedDevice.h"
#include "Tests/Support/PlatformTextCollation.h"
#include "VeltoCore/Devices/AudioDeviceManager.h"
#include "VeltoCore/Volume/DeviceVolumeController.h"

#include <cmath>
#include <limits>

namespace velto {
namespace {

using testing::ElementsAre;
using testing::FloatNear;

class VolumeTests : public RealServer {
  protected:
    std::vector<float> linearVolumes(const std::string& name) {
        const SoundLab::Lock lock(*lab);
        const PipeWireNode* node =
            lab->graph().device(name); // of the client's making it may know a bit later
        return node ? node->channelVolumes() : std::vector<float>();
    }
    /// Another program sets each channel.
    void setLinearVolumes(const std::string& name, std::vector<float> volumes) {
        const SoundLab::Lock lock(*lab);
        lab->graph().device(name)->setChannelVolumes(volumes);
    }
    bool becomes(const std::string& name, float volume) {
        return runUntil([&] { return std::abs(client->outputVolume(id(name)) - volume) < 1e-4F; });
    }
};

TEST_F(VolumeTests, AScalarIsTheCubeRootOfTheLoudestChannel) {
    EXPECT_TRUE(client->supportsOutputVolume(id("desk")));
    setLinearVolumes("desk", {0.027F, 0.216F});
    EXPECT_TRUE(becomes("desk", 0.6F));
    setLinearVolumes("desk", {8.0F, 0.0F}); // louder than full
    EXPECT_TRUE(becomes("desk", 2.0F)) << "as it is";
    setLinearVolumes("desk", {0.0F, 0.0F});
    EXPECT_TRUE(becomes("desk", 0.0F));

    for (const auto& [set, linear] :
         std::vector<std::pair<float, float>>{{0.5F, 0.125F},
                                              {1.7F, 1.0F},
                                              {-0.2F, 0.0F},
                                              {0.25F, 0.015625F},
                                              {std::numeric_limits<float>::infinity(), 1.0F},
                                              {std::numeric_limits<float>::quiet_NaN(), 0.0F}}) {
        client->setOutputVolume(id("desk"), set);
        const float expected = std::isnan(set) ? 0.0F : std::clamp(set, 0.0F, 1.0F);
        EXPECT_NEAR(client->outputVolume(id("desk")), expected, 1e-4F) << "read right after the write";
        EXPECT_TRUE(runUntil([&] {
            return testing::Matches(ElementsAre(FloatNear(linear, 1e-4F), FloatNear(linear, 1e-4F)))(
                linearVolumes("desk"));
        })) << set;
    }
}

TEST_F(VolumeTests, EveryChannelOfEveryOutputHasIt) {
    plug({"six", "Six", {{"audio.position", "[ FL FR FC LFE RL RR ]"}}});
    const AudioObjectID aggregate = createAggregate({"desk", "six"});
    for (const char* name : {"six", aggregateUID}) {
        client->setOutputVolume(id(name), 0.5F);
        client->setOutputMute(id(name), true);
        EXPECT_TRUE(lab->waitUntil([&] {
            const auto volumes = linearVolumes(name);
            return volumes.size() == (std::string(name) == "six" ? 6 : 2) &&
                   testing::Matches(testing::Each(FloatNear(0.125F, 1e-4F)))(volumes);
        })) << name;
        EXPECT_TRUE(client->outputMute(id(name)));
    }
    client->destroyAggregateDevice(aggregate);
}

TEST_F(VolumeTests, TheAggregatesOwnIsTheMasterVolumeOfItsOutputs) {
    const std::unique_ptr<TextCollation> collation = makePlatformTextCollation();
    const AudioDeviceManager devices(*client, loop, *collation);
    DeviceVolumeController controller(*client);
    setLinearVolumes("usb", {0.125F, 0.125F});
    ASSERT_TRUE(becomes("usb", 0.5F));
    const auto startSession = [&] {
        const AudioObjectID aggregate = createAggregate({"desk", "usb"});
        client->setDefaultOutputDevice(aggregate);
        controller.track({devices.device("desk").value(), devices.device("usb").value()}, aggregate);
        return aggregate;
    };
    AudioObjectID aggregate = startSession();
    setLinearVolumes(aggregateUID, {0.064F, 0.064F}); // a desktop's key
    EXPECT_TRUE(becomes("desk", 0.4F) && becomes("usb", 0.2F));
    controller.setMasterVolume(0.8F);
    EXPECT_TRUE(becomes(aggregateUID, 0.8F) && becomes("usb", 0.4F));
    for (int i = 0; i < 60; ++i) { // a key held for a while
        const float step = 0.8F - 0.01F * static_cast<float>(i + 1);
        setLinearVolumes(aggregateUID, {step * step * step, step * step * step});
        client->settle();
    }
    EXPECT_TRUE(becomes(aggregateUID, 0.2F) && becomes("desk", 0.2F) && becomes("usb", 0.1F));
    controller.stopTracking();
    client->destroyAggregateDevice(aggregate);
    aggregate = startSession();
    EXPECT_TRUE(becomes(aggregateUID, 0.2F)) << "of the outputs as they are, not what anybody remembers";
    settle();
    EXPECT_TRUE(becomes("desk", 0.2F) && becomes("usb", 0.1F));
    controller.stopTracking();
    client->destroyAggregateDevice(aggregate);
}

TEST_F(VolumeTests, ACardWithARouteCarriesTheVolume) {
    FakeCard card(server.socket(), {{"device.bus", "usb"}, {"device.vendor.name", "Cardmaker"}});
    const AudioObjectID device = plug({"speakers",
                                       "Speakers",
                                       {{"device.id", std::to_string(card.globalID())},
                                        {"card.profile.device", std::to_string(FakeCard::profileDevice)}}});
    EXPECT_EQ(client->transportType(device), kAudioDeviceTransportTypeUSB) << "the card's";
    EXPECT_EQ(client->deviceManufacturer(device), "Cardmaker");

    client->setOutputVolume(device, 0.5F);
    const auto volume = card.nextChange();
    EXPECT_EQ(volume.route, 7);
    EXPECT_EQ(volume.device, FakeCard::profileDevice);
    EXPECT_TRUE(volume.isSaved) << "the session manager is to remember it";
    EXPECT_EQ(volume.props.isMuted, std::nullopt);
    EXPECT_THAT(volume.props.channelVolumes.value(), ElementsAre(0.125F, 0.125F));
    client->setOutputMute(device, true);
    const auto mute = card.nextChange();
    EXPECT_EQ(mute.props.isMuted, true);
    EXPECT_EQ(mute.props.channelVolumes, std::nullopt);
    EXPECT_THAT(linearVolumes("speakers"), ElementsAre(1.0F, 1.0F)) << "left to the card";

    setLinearVolumes("speakers", {0.125F, 0.125F}); // as the card does then
    EXPECT_TRUE(becomes("speakers", 0.5F));

    card.deactivateRoutes();
    EXPECT_TRUE(runUntil([&] {
        client->setOutputVolume(device, 0.8F);
        return std::abs(client->outputVolume(device) - 0.8F) < 1e-4F;
    })) << "without a route the node has its own volume";
}

} // namespace
} // namespace velto
