#include "Tools/Judge/ClickRow.h"

#include "Tests/Judge/Studio.h"

#include <gmock/gmock.h>

#include <cmath>
#include <numbers>

namespace velto::judge {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using enum Studio::Output;

constexpr std::int64_t interval = 4800;

/// What is played, with room for one fault.
struct Played {
    double peak = 0.5;
    double tone = 1000;
    double decay = 400;
    std::int64_t length = 576;
    std::int64_t interval = judge::interval;
    bool isRightSilent = false;
};

/// Eight clicks, the first of which begins at 1.1 s.
void click(Studio& studio, Studio::Output output, const Played& played = {}, std::int64_t later = 0) {
    const auto samples = studio.samples(output, 1.1, Studio::duration);
    for (std::int64_t number = 0; number < 8; ++number)
        for (std::int64_t i = 0; i < played.length; ++i) {
            const double time = static_cast<double>(i) / sampleRate;
            const auto sample =
                static_cast<float>(played.peak * std::sin(2 * std::numbers::pi * played.tone * time) *
                                   std::exp(-played.decay * time));
            samples[static_cast<std::size_t>(later + number * played.interval + i)] = {
                sample, played.isRightSilent ? 0 : sample};
        }
}

StoryStep clicking() {
    StoryStep step = Studio::step({desk, usb});
    step.clicks = {.peak = 0.5, .interval = interval};
    step.skewLimit = 0;
    return step;
}

TEST(ClickRowTests, ClicksAtTheSameSamplesPassAndAreCounted) {
    Studio studio;
    click(studio, desk);
    click(studio, usb, {.peak = 0.125});
    StoryStep step = clicking();
    step.gains = {{"usb", 0.25}};
    const StepJudgement judgement = studio.judge(step);
    EXPECT_THAT(judgement.reasons, IsEmpty());
    EXPECT_EQ(judgement.clicks, (ClickRow{.begin = sampleAt(1.1), .count = 8}));
    EXPECT_EQ(judgement.skew, 0);
    EXPECT_THAT(
        studio.judge(clicking()).reasons,
        ElementsAre(HasSubstr("USB plays no 3 clicks of peak 0.500 in a row, 4800 samples apart: 8 sounds "
                              "are heard, such as one of 576 samples with an amplitude of 0.113")));
}

TEST(ClickRowTests, NothingElsePassesForAClick) {
    struct Case {
        const char* what;
        Played played;
    };
    for (const Case& wrong : {
             Case{"too quiet", {.peak = 0.49}},
             Case{"a wrong tone", {.tone = 1001}},
             Case{"no decay", {.decay = 0}},
             Case{"too long", {.length = 578}},
             Case{"of another rate", {.tone = 44100.0 / 48, .decay = 400 * 44.1 / 48, .length = 529}},
             Case{"too seldom", {.interval = 4801}},
             Case{"on one channel", {.isRightSilent = true}},
         }) {
        Studio studio;
        click(studio, desk);
        click(studio, usb, wrong.played);
        const StepJudgement judgement = studio.judge(clicking());
        EXPECT_THAT(judgement.reasons, ElementsAre(HasSubstr("USB plays no 3 clicks"))) << wrong.what;
        EXPECT_EQ(judgement.skew, std::nullopt) << wrong.what;
    }
    Studio studio;
    click(studio, desk);
    EXPECT_THAT(studio.judge(clicking()).reasons, ElementsAre(HasSubstr("silence is heard")));
    studio.play(usb, 0.5, 4);
    EXPECT_FALSE(studio.judge(clicking()).passes()) << "the source";
    for (const std::int64_t skew : {std::int64_t{1}, std::int64_t{48}, interval / 2}) {
        Studio skewed;
        click(skewed, desk);
        click(skewed, usb, {}, skew);
        EXPECT_THAT(skewed.judge(clicking()).reasons, Contains(HasSubstr("don't click at the same samples")))
            << skew;
    }
    click(studio, display);
    EXPECT_THAT(studio.judge(clicking()).reasons, Contains(HasSubstr("Display sounds")))
        << "nobody asked it to";
}

} // namespace
} // namespace velto::judge
