#include "Platform/Linux/IcuTextCollation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace velto {
namespace {

TEST(IcuTextCollationTests, OrdersNamesForAReader) {
    const IcuTextCollation collation;
    const std::vector<std::string> ordered{"",          "1 x",        "apple",       "Banana", "Émile",
                                           "Speaker 2", "speaker 10", "Speaker 10b", "zebra",  "日本"};
    for (std::size_t i = 0; i < ordered.size(); ++i)
        for (std::size_t k = 0; k < ordered.size(); ++k) {
            const int result = collation.compare(ordered[i], ordered[k]);
            EXPECT_EQ(result < 0, i < k) << ordered[i] << " and " << ordered[k];
            EXPECT_EQ(result == 0, i == k) << ordered[i] << " and " << ordered[k];
        }
}

TEST(IcuTextCollationTests, IgnoresLetterCaseButNotAccents) {
    const IcuTextCollation collation;
    EXPECT_EQ(collation.compare("HDMI display", "hdmi DISPLAY"), 0);
    EXPECT_LT(collation.compare("e", "é"), 0);
    EXPECT_LT(collation.compare("É", "f"), 0);
}

TEST(IcuTextCollationTests, BrokenTextHasAPlaceOfItsOwn) {
    const IcuTextCollation collation;
    const std::string broken = "\xC3(\xFF";
    EXPECT_EQ(collation.compare(broken, broken), 0);
    EXPECT_EQ(collation.compare(broken, "a") < 0, collation.compare("a", broken) > 0);
    EXPECT_NE(collation.compare(broken, "a"), 0);
}

} // namespace
} // namespace velto
