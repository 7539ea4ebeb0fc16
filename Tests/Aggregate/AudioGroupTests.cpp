#include "VeltoCore/Aggregate/AudioGroup.h"

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <vector>

namespace velto {
namespace {

using Error = AudioGroup::ValidationError;

AudioOutputDevice output(std::string uid, std::int64_t channels = 2) {
    AudioOutputDevice device;
    device.name = "The " + uid;
    device.uid = std::move(uid);
    device.outputChannelCount = channels;
    return device;
}

/// Why the devices can't form a group; none when they can.
std::optional<Error::Kind> fault(std::vector<AudioOutputDevice> devices) {
    try {
        const AudioGroup group(std::move(devices));
        return std::nullopt;
    } catch (const Error& error) {
        return error.kind();
    }
}

TEST(AudioGroupTests, FirstFaultEndsTheValidation) {
    const Error::Kind tooFew = Error::TooFewDevices{};
    const Error::Kind duplicate = Error::DuplicateDevice{"a"};
    const Error::Kind silent = Error::DeviceWithoutOutput{"The a"};
    EXPECT_EQ(fault({}), tooFew);
    EXPECT_EQ(fault({output("a")}), tooFew);
    EXPECT_EQ(fault({output("a"), output("a")}), duplicate);
    EXPECT_EQ(fault({output("a"), output("a", 0)}), silent) << "channels before duplicates";
    EXPECT_EQ(fault({output("a"), output("a"), output("b", 0)}), duplicate) << "device by device";
    EXPECT_EQ(fault({output("a", 0)}), silent) << "before counting";
    EXPECT_EQ(fault({output("a", -1), output("b")}), silent);
}

TEST(AudioGroupTests, AbsentDeviceNeedsNoChannels) {
    const auto absent = AudioOutputDevice::disconnected("a", "Absent", AudioTransportType());
    EXPECT_EQ(fault({absent, output("b")}), std::nullopt);
    EXPECT_EQ(fault({absent, absent}), Error::Kind(Error::DuplicateDevice{"a"}));
}

} // namespace
} // namespace velto
