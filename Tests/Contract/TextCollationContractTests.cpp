// How every platform orders names for a reader.
#include "Tests/Support/PlatformTextCollation.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace velto {
namespace {

class TextCollationContractTests : public testing::Test {
  protected:
    /// Below, equal or above.
    int sign(const std::string& first, const std::string& second) const {
        const int result = collation->compare(first, second);
        return (result > 0) - (result < 0);
    }

    const std::unique_ptr<TextCollation> collation = makePlatformTextCollation();
};

TEST_F(TextCollationContractTests, OrdersNamesForAReader) {
    const std::vector<std::string> ordered{"",           "1 x",         "apple", "Banana",
                                           "cafe",       "café",        "Émile", "Speaker 2",
                                           "speaker 10", "Speaker 10b", "zebra", "日本"};
    for (std::size_t i = 0; i < ordered.size(); ++i)
        for (std::size_t k = 0; k < ordered.size(); ++k)
            EXPECT_EQ(sign(ordered[i], ordered[k]), (i > k) - (i < k)) << ordered[i] << " and " << ordered[k];
}

TEST_F(TextCollationContractTests, LetterCaseDecidesNothingThatAnythingElseDecides) {
    EXPECT_LT(collation->compare("HDMI a", "hdmi B"), 0);
    EXPECT_LT(collation->compare("hdmi a", "HDMI B"), 0);
    EXPECT_LT(collation->compare("hdmi É", "HDMI f"), 0);
}

TEST_F(TextCollationContractTests, BrokenTextHasAPlaceOfItsOwn) {
    const std::string broken = "\xC3(\xFF";
    EXPECT_EQ(sign(broken, broken), 0);
    EXPECT_EQ(sign(broken, "a"), -sign("a", broken));
    EXPECT_NE(sign(broken, "a"), 0);
}

} // namespace
} // namespace velto
