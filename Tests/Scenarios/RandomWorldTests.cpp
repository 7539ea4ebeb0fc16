// A few random worlds; ./run proof plays ten thousand and more.
#include "Tests/Support/RandomStory.h"
#include "Tests/Support/Shrinking.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace velto {
namespace {

TEST(RandomWorld, KeepsTheInvariantsWhateverHappens) {
    const char* first = std::getenv("VELTO_RANDOM_SEED");
    const std::uint64_t seed = first ? std::strtoull(first, nullptr, 10) : 20011;
    for (std::uint64_t story = seed; story < seed + 40; ++story) {
        const auto steps = randomStory(story, 50);
        if (!faultOf(steps)) continue;
        std::string told;
        const auto few = shortened(steps);
        for (const Step& step : few)
            told += text(step) + '\n';
        FAIL() << "seed " << story << ", in short:\n" << told << faultOf(few).value_or("");
    }
}

TEST(RandomWorld, AFailureIsReducedToTheStepsThatMatter) {
    int tries = 0;
    const auto fails = [&](const std::vector<int>& sequence) { // a 7 somewhere before anything from 90 on
        ++tries;
        const auto seven = std::ranges::find(sequence, 7);
        return std::any_of(seven, sequence.end(), [](int value) { return value >= 90; });
    };
    std::vector<int> sequence;
    for (int i = 0; i < 300; ++i)
        sequence.push_back(i * 37 % 101);
    ASSERT_TRUE(fails(sequence));
    const auto simpler = [](int value) { return std::vector<int>{value / 2, value - 1, value}; };
    EXPECT_THAT(shrunk<int>(sequence, fails, simpler), testing::ElementsAre(7, testing::Ge(90)));
    EXPECT_LT(tries, 200);
}

} // namespace
} // namespace velto
