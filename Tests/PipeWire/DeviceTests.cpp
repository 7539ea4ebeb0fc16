#include "Tests/PipeWire/RealServer.h"
#include "Tests/PipeWire/ServedDevice.h"

namespace velto {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class DeviceTests : public RealServer {};

TEST_F(DeviceTests, ADeviceSaysWhatItIs) {
    EXPECT_THAT(deviceUIDs(), ElementsAre("desk", "usb", "blue"));
    const AudioObjectID desk = id("desk");
    EXPECT_EQ(client->deviceManufacturer(desk), "Acme");
    EXPECT_EQ(client->deviceManufacturer(id("blue")), std::nullopt);
    EXPECT_EQ(client->outputChannelCount(desk), 2);
    EXPECT_EQ(client->outputLatencyFrames(desk), std::nullopt) << "the server says nothing of it";
    EXPECT_EQ(client->outputSafetyOffsetFrames(desk), std::nullopt);
    EXPECT_EQ(client->nominalSampleRate(desk), 48000);
    EXPECT_THAT(client->availableSampleRates(desk), ElementsAre(SampleRateRange{8000, 192000}));
    EXPECT_EQ(client->deviceID("nobody"), std::nullopt);
}

TEST_F(DeviceTests, TransportComesFromBusInterfaceAndProfile) {
    struct Case {
        std::map<std::string, std::string> properties;
        AudioDeviceTransportType transport;
    };
    const std::vector<Case> cases{
        {{{"device.bus", "pci"}, {"device.api", "alsa"}}, kAudioDeviceTransportTypeBuiltIn},
        {{{"device.bus", "usb"}, {"device.profile.name", "hdmi-stereo"}}, kAudioDeviceTransportTypeUSB},
        {{{"device.api", "bluez5"}}, kAudioDeviceTransportTypeBluetooth},
        {{{"device.bus", "pci"}, {"device.profile.name", "HDMI-stereo-extra1"}},
         kAudioDeviceTransportTypeHDMI},
        {{{"device.bus", "pci"}, {"api.alsa.path", "hdmi:0,1"}}, kAudioDeviceTransportTypeHDMI},
        {{{"device.bus", "pci"}, {"device.profile.description", "Digital Stereo (HDMI / DisplayPort 2)"}},
         kAudioDeviceTransportTypeDisplayPort},
        {{{"raop.ip", "192.0.2.7"}}, kAudioDeviceTransportTypeAirPlay},
        {{}, kAudioDeviceTransportTypeVirtual},
        {{{"device.bus", "something new"}, {"factory.name", "support.null-audio-sink"}},
         kAudioDeviceTransportTypeVirtual},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const AudioObjectID device = plug({"d" + std::to_string(i), "", cases[i].properties});
        EXPECT_EQ(client->transportType(device), cases[i].transport) << i;
    }
}

TEST_F(DeviceTests, NameIsTheDescriptionElseTheNickElseTheUID) {
    EXPECT_EQ(client->deviceName(plug({"a", "Both", {{"node.nick", "nick"}}})), "Both");
    EXPECT_EQ(client->deviceName(plug({"b", "", {{"node.nick", "nick"}}})), "nick");
    EXPECT_EQ(client->deviceName(plug({"c", "", {}})), "c");
}

TEST_F(DeviceTests, AnInputIsADeviceThatNothingCanBePlayedTo) {
    spa_latency_info latency{};
    latency.direction = SPA_DIRECTION_OUTPUT;
    latency.min_ns = 1'000'000;
    const ServedDevice microphone(*lab, "served", "Audio/Source", latency);
    ASSERT_TRUE(runUntil([&] { return id("served") != kAudioObjectUnknown; }));
    const AudioObjectID source = id("served");
    EXPECT_EQ(client->outputChannelCount(source), 0);
    EXPECT_THAT(client->allDeviceIDs(), Contains(source));
    EXPECT_EQ(statusThrown([&] { client->setDefaultOutputDevice(source); }), kAudioHardwareBadDeviceError);
    EXPECT_EQ(statusThrown([&] { client->setDefaultSystemOutputDevice(source); }),
              kAudioHardwareBadDeviceError);
    EXPECT_FALSE(client->supportsSubDeviceDriftCompensation(source));
    EXPECT_FALSE(client->supportsOutputVolume(source) || client->supportsOutputMute(source));
    EXPECT_EQ(client->outputLatencyFrames(source), std::nullopt);
}

TEST_F(DeviceTests, LatencyIsInFramesAtTheNominalRate) {
    spa_latency_info latency{};
    latency.direction = SPA_DIRECTION_INPUT;
    latency.min_ns = 10'000'000; // 480 frames at 48 kHz
    latency.min_rate = 20;
    latency.min_quantum = 0.5F;
    const ServedDevice output(*lab, "served", "Audio/Sink", latency);
    ASSERT_TRUE(runUntil([&] { return client->outputLatencyFrames(id("served")).has_value(); }));
    const auto quantum = std::stoll(lab->settingsMetadata("clock.quantum").value());
    EXPECT_EQ(client->outputLatencyFrames(id("served")), 500 + quantum / 2);
    EXPECT_EQ(client->outputChannelCount(id("served")), 1);
    EXPECT_EQ(client->transportType(id("served")), 0u) << "nothing tells";
}

TEST_F(DeviceTests, HostileDevicesAreDevicesLikeOthers) {
    const std::string odd = "a\"b\\c\n{}'\x01é日";
    const AudioObjectID oddDevice = plug({odd, std::string(10'000, 'x') + "\n\"", {{"device.bus", "usb"}}});
    EXPECT_EQ(client->deviceUID(oddDevice), odd);
    EXPECT_EQ(client->deviceName(oddDevice), std::string(10'000, 'x') + "\n\"");
    const std::string longName(3000, 'n');
    const AudioObjectID longDevice = plug({longName, "Long", {}});
    for (const AudioObjectID device : {oddDevice, longDevice}) {
        client->setDefaultOutputDevice(device);
        EXPECT_EQ(client->defaultOutputDeviceID(), device);
        client->setDefaultSystemOutputDevice(id("usb"));
        client->setDefaultSystemOutputDevice(device);
        EXPECT_EQ(client->defaultSystemOutputDeviceID(), device);
        const AudioObjectID aggregate = createAggregate({"desk", client->deviceUID(device)});
        EXPECT_THAT(client->aggregateActiveSubDeviceIDs(aggregate), ElementsAre(id("desk"), device));
        EXPECT_THAT(client->aggregateFullSubDeviceUIDs(aggregate),
                    ElementsAre("desk", client->deviceUID(device)));
        client->destroyAggregateDevice(aggregate);
    }
    client->setDefaultOutputDevice(id("desk"));
}

TEST_F(DeviceTests, AForeignCompositionIsTakenForNothingItIsNot) {
    for (const char* composition :
         {"[[[", "7", "[]", "{}", R"({"subdevices": {"uid": 1}, "master": []})",
          R"({"subdevices": [7, null, {"uid": 3, "drift": "yes"}, {"uid": "usb"}]})"}) {
        const AudioObjectID device = plug({"foreign", "Foreign", {{"velto.composition", composition}}});
        EXPECT_EQ(client->transportType(device), kAudioDeviceTransportTypeAggregate) << composition;
        EXPECT_THAT(client->aggregateActiveSubDeviceIDs(device), IsEmpty());
        unplug("foreign");
    }
}

TEST_F(DeviceTests, TwoDevicesOfOneNameAreTwoDevices) {
    const AudioObjectID first = id("usb");
    lab->plug(VirtualOutput::usb("usb", "Twin"));
    ASSERT_TRUE(runUntil([&] { return client->allDeviceIDs().size() == 4; }));
    EXPECT_THAT(deviceUIDs(), ElementsAre("desk", "usb", "blue", "usb"));
    EXPECT_EQ(id("usb"), first);
    EXPECT_EQ(client->deviceName(client->allDeviceIDs().back()), "Twin");
    lab->unplug("usb");
}

TEST_F(DeviceTests, ADeviceWithoutANameIsNone) {
    const ServedDevice nameless(*lab, "", "Audio/Sink", SPA_DIRECTION_INPUT);
    ASSERT_TRUE(lab->waitUntil([&] { return !lab->graph().ports(nameless.globalID()).empty(); }));
    settle();
    EXPECT_THAT(deviceUIDs(), ElementsAre("desk", "usb", "blue"));
}

TEST_F(DeviceTests, RapidPluggingEndsWhereItStops) {
    const AudioObjectID aggregate = createAggregate({"desk", "usb"});
    int changes = 0;
    listen(kAudioObjectSystemObject, kAudioHardwarePropertyDevices, [&] {
        ++changes;
        for (const AudioObjectID device : client->allDeviceIDs()) // all of it can be read at any time
            EXPECT_FALSE(client->deviceUID(device).empty() || client->outputChannelCount(device) != 2);
    });
    for (int i = 0; i < 50; ++i) {
        lab->unplug("usb");
        if (i % 3 == 0) settle();
        lab->plug(usual("usb"));
        if (i % 4 == 0) settle();
    }
    EXPECT_TRUE(runUntil([&] { return client->aggregateActiveSubDeviceIDs(aggregate).size() == 2; }));
    EXPECT_THAT(deviceUIDs(), ElementsAre("desk", "blue", aggregateUID, "usb"));
    EXPECT_GT(changes, 0);
    client->destroyAggregateDevice(aggregate);
    EXPECT_THAT(log.linesWith(" error: "), IsEmpty());
}

} // namespace
} // namespace velto
