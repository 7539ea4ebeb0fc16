#include "VeltoCore/CoreAudio/AudioTransportType.h"

#include <gmock/gmock.h>

namespace velto {
namespace {

using Kind = AudioTransportType::Kind;

TEST(AudioTransportTypeTests, StoredNamesAreExact) {
    for (const std::uint32_t code : {fourCharCode("ccwd"), fourCharCode("ccwl")})
        EXPECT_EQ(AudioTransportType(code).storedName(), "continuityCapture");
    EXPECT_EQ(AudioTransportType::fromStoredName("Bluetooth"), std::nullopt);
    EXPECT_EQ(AudioTransportType::fromStoredName(""), std::nullopt);
    EXPECT_EQ(AudioTransportType::fromStoredName("virtualDevice"), std::nullopt);
    // A stored unknown stays one, even with a code that is known today.
    const auto stored = AudioTransportType::fromStoredName("unknown", kAudioDeviceTransportTypeUSB);
    EXPECT_EQ(stored->kind(), Kind::unknown);
    EXPECT_EQ(stored->unknownCode(), kAudioDeviceTransportTypeUSB);
}

} // namespace
} // namespace velto
