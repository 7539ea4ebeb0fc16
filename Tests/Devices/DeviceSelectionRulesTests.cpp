#include "VeltoCore/Devices/DeviceSelectionRules.h"

#include "Tests/Support/PlatformTextCollation.h"

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <vector>

namespace velto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Kind = AudioTransportType::Kind;

/// A device whose UID is its name.
AudioOutputDevice output(std::string name, AudioTransportType transport, std::int64_t channels = 2) {
    AudioOutputDevice device;
    device.uid = name;
    device.name = std::move(name);
    device.transportType = transport;
    device.outputChannelCount = channels;
    return device;
}

std::vector<std::string> selectable(const std::vector<AudioOutputDevice>& devices,
                                    std::optional<std::string_view> excludingUID = std::nullopt) {
    const std::unique_ptr<TextCollation> collation = makePlatformTextCollation();
    std::vector<std::string> uids;
    for (const auto& device :
         DeviceSelectionRules::selectableOutputDevices(devices, excludingUID, *collation))
        uids.push_back(device.uid);
    return uids;
}

std::string fallback(const std::vector<AudioOutputDevice>& devices,
                     std::optional<std::string_view> excludingUID = std::nullopt) {
    const auto device = DeviceSelectionRules::fallbackOutputDevice(devices, excludingUID);
    return device ? device->uid : "none";
}

TEST(DeviceSelectionRulesTests, OrdersBuiltInOnesFirstThenByName) {
    EXPECT_THAT(selectable({output("USB DAC", Kind::usb), output("Built-in Speakers", Kind::builtIn),
                            output("AirPods", Kind::bluetooth)}),
                ElementsAre("Built-in Speakers", "AirPods", "USB DAC"));
    EXPECT_THAT(selectable({output("Speaker 10", Kind::usb), output("speaker 2", Kind::hdmi),
                            output("Speaker 1", Kind::airPlay), output("Zeta", Kind::builtIn)}),
                ElementsAre("Zeta", "Speaker 1", "speaker 2", "Speaker 10"));
}

TEST(DeviceSelectionRulesTests, KeepsTheOrderOfEqualNames) {
    std::vector<AudioOutputDevice> devices;
    for (const char* uid : {"c", "a", "d", "b"}) {
        devices.push_back(output("Speaker", Kind::usb));
        devices.back().uid = uid;
    }
    EXPECT_THAT(selectable(devices), ElementsAre("c", "a", "d", "b"));
}

TEST(DeviceSelectionRulesTests, LeavesOutAggregatesInputsAndTheExcludedOne) {
    const std::vector devices{
        output("Velto Output", Kind::aggregate), output("Combined", Kind::autoAggregate),
        output("Microphone", Kind::usb, 0),      output("Loopback", Kind::virtualDevice),
        output("Stream", Kind::airPlay),         output("Odd", AudioTransportType(7)),
    };
    EXPECT_THAT(selectable(devices), ElementsAre("Loopback", "Odd", "Stream"));
    EXPECT_THAT(selectable(devices, "Odd"), ElementsAre("Loopback", "Stream"));
    EXPECT_THAT(selectable(devices, "odd"), ElementsAre("Loopback", "Odd", "Stream"));
    EXPECT_EQ(fallback(devices), "Loopback");
    EXPECT_EQ(fallback(devices, "Loopback"), "Stream");

    EXPECT_THAT(selectable({devices[0], devices[2]}), IsEmpty());
    EXPECT_EQ(fallback({devices[0], devices[2]}), "none");
    EXPECT_THAT(selectable({}), IsEmpty());
    EXPECT_EQ(fallback({}), "none");
}

TEST(DeviceSelectionRulesTests, FallsBackToBuiltInElseTheFirstGiven) {
    const auto headphones = output("Wireless", Kind::bluetooth);
    const auto display = output("Display", Kind::hdmi);
    const auto speakers = output("Speakers", Kind::builtIn);
    const auto otherSpeakers = output("Line Out", Kind::builtIn);
    EXPECT_EQ(fallback({headphones, display, speakers, otherSpeakers}), "Speakers");
    EXPECT_EQ(fallback({headphones, display, speakers}, "Speakers"), "Wireless");
}

} // namespace
} // namespace velto
