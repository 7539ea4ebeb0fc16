#include "Tools/Judge/StepJudgement.h"

#include "Tests/Judge/Studio.h"

#include <gmock/gmock.h>

namespace velto::judge {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using enum Studio::Output;

StoryStep inStep(std::int64_t skewLimit = 0) {
    StoryStep step = Studio::step({desk, usb});
    step.skewLimit = skewLimit;
    return step;
}

TEST(StepJudgementTests, CopiesPassAndTheirSkewIsExact) {
    for (const std::int64_t skew : {0, 1, 3, 480, 20000}) {
        Studio studio;
        studio.play(desk, 0.5, 4, 0, 0.2f);
        studio.play(usb, 0.5, 4, skew, 0.9f);
        const StepJudgement exact = studio.judge(inStep(skew));
        EXPECT_THAT(exact.reasons, IsEmpty()) << skew;
        EXPECT_EQ(exact.skew, skew);
        StoryStep delayed = inStep();
        delayed.lateness = {{Studio::uid(Studio::desk), static_cast<double>(skew) / 48}};
        EXPECT_THAT(studio.judge(delayed).reasons, IsEmpty()) << "what is late is heard with what is delayed";
        EXPECT_EQ(exact.outputs[desk].lag, Studio::playerLag);
        EXPECT_NEAR(exact.outputs[usb].correlation.value(), 1, 1e-6);
        EXPECT_EQ(exact.outputs[usb].judgedPieces + exact.outputs[usb].silentPieces, 4);
        EXPECT_EQ(exact.outputs[display].level, -200);
        if (skew == 0) continue;
        EXPECT_THAT(studio.judge(inStep(skew - 1)).reasons, ElementsAre(HasSubstr("USB plays")));
    }
}

TEST(StepJudgementTests, SilenceNeverPassesForSound) {
    Studio studio;
    const StepJudgement both = studio.judge(inStep());
    EXPECT_EQ(both.skew, std::nullopt);
    EXPECT_THAT(both.reasons, ElementsAre(HasSubstr("Desk is silent"), HasSubstr("USB is silent"),
                                          HasSubstr("skew can't be told")));
    studio.play(desk, 0.5, 4);
    studio.play(usb, 0.5, 4, 0, 1e-5f);
    EXPECT_THAT(studio.judge(inStep()).reasons, Contains(HasSubstr("USB is silent")))
        << "a copy nobody hears";
}

TEST(StepJudgementTests, OnlyTheSourceIsSoundThatIsDue) {
    struct Case {
        const char* what;
        void (*spoil)(std::span<Frame>);
    };
    const Case cases[] = {
        {"other speech", [](auto samples) { std::ranges::copy(speech(3.5, 99), samples.begin()); }},
        {"one channel dead",
         [](auto samples) { std::ranges::for_each(samples, [](Frame& frame) { frame.left = 0; }); }},
        {"channels swapped",
         [](auto samples) {
             std::ranges::for_each(samples, [](Frame& frame) { std::swap(frame.left, frame.right); });
         }},
        {"inverted",
         [](auto samples) {
             std::ranges::for_each(samples, [](Frame& frame) { frame = {-frame.left, -frame.right}; });
         }},
        {"silent for a tenth of a second",
         [](auto samples) { std::ranges::fill(samples.subspan(60000, 4800), Frame()); }},
    };
    for (const Case& planted : cases) {
        Studio studio;
        studio.play(desk, 0.5, 4);
        studio.play(usb, 0.5, 4);
        planted.spoil(studio.samples(usb, 0.5, 4));
        const StepJudgement judgement = studio.judge(inStep());
        EXPECT_FALSE(judgement.outputs[usb].passes()) << planted.what;
        EXPECT_EQ(judgement.skew, std::nullopt) << planted.what;
        EXPECT_THAT(judgement.reasons, Contains(HasSubstr("USB matches the source by"))) << planted.what;
        EXPECT_TRUE(judgement.outputs[desk].passes());
    }
}

TEST(StepJudgementTests, LagMustStayTheSame) {
    for (const std::int64_t jump : {1, -1, 100, -4096, 96000}) {
        Studio studio;
        studio.play(desk, 0.5, 4);
        studio.play(usb, 0.5, 2.5);
        studio.play(usb, 2.5, 4, jump);
        const StepJudgement judgement = studio.judge(inStep());
        EXPECT_THAT(judgement.reasons, Contains(HasSubstr("USB jumps by " + std::string(jump > 0 ? "+" : "") +
                                                          std::to_string(jump) + " samples")));
        EXPECT_EQ(judgement.skew, std::nullopt) << "one that jumps has no lag to compare";
    }
}

TEST(StepJudgementTests, SilenceIsDueEverywhereElse) {
    Studio studio;
    studio.play(desk, 0, 8);
    StoryStep alone = Studio::step({desk});
    EXPECT_TRUE(studio.judge(alone).passes());
    EXPECT_TRUE(studio.judge(alone).isHeard(desk));
    EXPECT_FALSE(studio.judge(alone).isHeard(usb)) << "silent as it should be";

    studio.play(usb, 2.98, 3.5);
    EXPECT_THAT(studio.judge(alone).reasons, ElementsAre(HasSubstr("USB sounds at"))) << "the last 20 ms";
    std::ranges::fill(studio.samples(usb, 0, 8), Frame{0.9e-4f, -0.9e-4f});
    EXPECT_TRUE(studio.judge(alone).passes());
    std::ranges::fill(studio.samples(usb, 0, 8), Frame{1.1e-4f, 1.1e-4f});
    EXPECT_FALSE(studio.judge(alone).passes());
    std::ranges::fill(studio.samples(usb, 0, 8), Frame());
    EXPECT_FALSE(studio.judge(Studio::step({})).passes()) << "silence is due on the one that plays";
}

TEST(StepJudgementTests, VolumesAreHeard) {
    Studio studio;
    studio.play(desk, 0.5, 4, 0, 0.512f);
    studio.play(usb, 0.5, 4);
    StoryStep step = inStep();
    step.gains = {{"desk", 0.512}, {"usb", 1}};
    EXPECT_THAT(studio.judge(step).reasons, IsEmpty());
    EXPECT_NEAR(studio.judge(step).outputs[desk].gain.value().left, 0.512, 1e-4);
    for (const double gain : {0.5, 0.52, 0.8, 0.0}) {
        step.gains = {{"desk", gain}};
        EXPECT_THAT(
            studio.judge(step).reasons,
            ElementsAre(HasSubstr("Desk plays at 0.5120 (left) and 0.5120 (right) of the source's volume")));
    }
}

TEST(StepJudgementTests, WhatIsQuietInTheSourceMayBeSilenceWhereItIsTurnedDown) {
    std::vector<Frame> played = speech(10, 1);
    const std::span pause = std::span(played).subspan(72000 - Studio::playerLag, 24000); // 1.5 s to 2 s
    for (Frame& frame : pause) {
        frame.left *= 3e-3f;
        frame.right *= 3e-3f;
    }
    Studio studio(played);
    studio.play(desk, 0.5, 4);
    studio.play(usb, 0.5, 4, 0, 0.125f);
    StoryStep step = inStep();
    step.gains = {{"usb", 0.125}};
    EXPECT_THAT(studio.judge(step).reasons, IsEmpty());
    EXPECT_EQ(studio.judge(step).outputs[usb].silentPieces, 1);
    std::ranges::fill(studio.samples(usb, 1.5, 2), Frame{1.1e-4f, 1.1e-4f});
    EXPECT_THAT(studio.judge(step).reasons, Contains(HasSubstr("while the source is silent")));
    std::ranges::fill(studio.samples(usb, 1, 1.5), Frame());
    EXPECT_FALSE(studio.judge(step).passes());
}

} // namespace
} // namespace velto::judge
