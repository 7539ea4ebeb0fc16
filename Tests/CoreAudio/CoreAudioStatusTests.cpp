#include "VeltoCore/CoreAudio/CoreAudioStatus.h"

#include <gmock/gmock.h>

namespace velto {
namespace {

TEST(CoreAudioStatusTests, QuotesACodeOnlyIfAllOfItIsPrintable) {
    EXPECT_EQ(fourCharCodeDescription(0x2020207Eu), "'   ~' (538976382)");
    EXPECT_EQ(fourCharCodeDescription(0x1F616263u), "526475875");  // just below the range
    EXPECT_EQ(fourCharCodeDescription(0x6162637Fu), "1633837951"); // just above it
    EXPECT_EQ(fourCharCodeDescription(0x616263E9u), "1633838057"); // a letter, but no ASCII
    EXPECT_EQ(fourCharCodeDescription(0xE9616263u), "-379493789"); // signed, whatever the argument's type
    EXPECT_EQ(coreAudioDescription(-1), "Core Audio error -1");
}

} // namespace
} // namespace velto
