#include "VeltoCore/CoreAudio/CoreAudioStatus.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

namespace velto {
namespace {

OSStatus status(const std::string& code) {
    std::uint32_t value = 0;
    for (const char character : code)
        value = (value << 8) | static_cast<unsigned char>(character);
    return static_cast<OSStatus>(value);
}

TEST(CoreAudioStatusTests, NamesTheKnownStatuses) {
    const std::vector<std::pair<std::string, std::string>> texts{
        {"!dat", "Unsupported audio format"},
        {"!dev", "Bad audio device"},
        {"!hog", "Audio device permissions error"},
        {"who?", "Unknown audio property"},
        {"abcd", "Core Audio error 'abcd' (1633837924)"},
    };
    for (const auto& [code, text] : texts)
        EXPECT_EQ(coreAudioDescription(status(code)), text);
    EXPECT_EQ(coreAudioDescription(0), "No error");
    EXPECT_EQ(coreAudioDescription(0x12345678), "Core Audio error 305419896");
    EXPECT_EQ(coreAudioDescription(-50), "Core Audio error -50");
}

TEST(CoreAudioStatusTests, QuotesACodeOnlyIfAllOfItIsPrintable) {
    EXPECT_EQ(fourCharCodeDescription(0x2020207Eu), "'   ~' (538976382)");
    EXPECT_EQ(fourCharCodeDescription(0x1F616263u), "526475875");  // just below the range
    EXPECT_EQ(fourCharCodeDescription(0x6162637Fu), "1633837951"); // just above it
    EXPECT_EQ(fourCharCodeDescription(0x616263E9u), "1633838057"); // a letter, but no ASCII
    EXPECT_EQ(fourCharCodeDescription(0xE9616263u), "-379493789"); // signed, whatever the argument's type
    EXPECT_EQ(fourCharCodeDescription(OSStatus{-1}), "-1");
}

} // namespace
} // namespace velto
