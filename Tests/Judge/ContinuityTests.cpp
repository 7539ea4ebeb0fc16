#include "Tests/Judge/Studio.h"
#include "Tools/Judge/StepJudgement.h"

#include <gmock/gmock.h>

namespace velto::judge {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using enum Studio::Output;

/// The desk is unplugged at 3 s, and the other output must play on.
StoryStep unplugged(std::int64_t lostLimit = 0) {
    StoryStep step = Studio::step({usb});
    std::tie(step.from, step.to) = std::pair(3.5, 5);
    step.survivor = {.uid = Studio::uid(usb), .event = 3, .lostLimit = lostLimit};
    return step;
}

/// The desk comes back at 2 s.
StoryStep pluggedIn() {
    StoryStep step = Studio::step({desk});
    std::tie(step.from, step.to) = std::pair(2.5, 4);
    step.returning = {.uid = Studio::uid(desk), .event = 2, .limitMilliseconds = 26.3};
    return step;
}

/// Nothing in the source is silent, so that every sample counts.
std::vector<Frame> chatter() {
    std::vector<Frame> frames = noise(static_cast<std::size_t>(sampleAt(10)), 11);
    for (Frame& frame : frames) {
        frame.left += frame.left < 0 ? -0.01f : 0.01f;
        frame.right *= 0.4f;
    }
    return frames;
}

TEST(ContinuityTests, LossesAroundAnEventAreCountedToTheSample) {
    struct Case {
        const char* what;
        double soundsAgain;
        std::int64_t later;
        LostSamples lost;
    };
    const double event = 3.001;
    const double hundred = secondsAt(100);
    const Case cases[] = {
        {"nothing", event, 0, {}},
        {"100 samples silent", event + hundred, 0, {.gap = 100}},
        {"100 samples left out", event, -100, {.skipped = 100}},
        {"100 samples later, nothing left out", event + hundred, 100, {.gap = 100}},
        {"64 samples twice", event, 64, {.repeated = 64}},
        {"a tenth of a second silent, before the event was noticed", event + 0.1, 0, {.gap = 4800}},
    };
    for (const Case& planted : cases) {
        Studio studio(chatter());
        studio.play(usb, 0, event, 0, 0.5f);
        studio.play(usb, planted.soundsAgain, 8, planted.later, 0.5f);
        const StepJudgement judgement = studio.judge(unplugged(planted.lost.total()));
        EXPECT_EQ(judgement.lost, planted.lost) << planted.what;
        EXPECT_THAT(judgement.reasons, IsEmpty()) << planted.what;
        if (planted.lost == LostSamples{}) continue;
        EXPECT_THAT(studio.judge(unplugged(planted.lost.total() - 1)).reasons,
                    ElementsAre(HasSubstr("USB lost")))
            << planted.what;
    }
}

TEST(ContinuityTests, LossThatCannotBeToldIsAFault) {
    Studio ended;
    ended.play(usb, 0, 3);
    EXPECT_THAT(
        ended.judge(unplugged()).reasons,
        ElementsAre(HasSubstr("USB is silent"), HasSubstr("doesn't carry the source after the event")));
    Studio begun;
    begun.play(usb, 3.1, 8);
    EXPECT_THAT(begun.judge(unplugged()).reasons, ElementsAre(HasSubstr("before the event")));
}

TEST(ContinuityTests, ReturnIsTimedToTheSample) {
    Studio studio(chatter());
    studio.play(desk, 2.0134, 5, 0, 0.3f);
    const StepJudgement judgement = studio.judge(pluggedIn());
    EXPECT_THAT(judgement.reasons, IsEmpty());
    EXPECT_NEAR(judgement.returned.value().milliseconds, 13.4, 0.011);
    EXPECT_FALSE(judgement.returned->sourceWasSilent());

    studio.samples(desk, 2.0263, 3).front() = {};
    EXPECT_NEAR(studio.judge(pluggedIn()).returned.value().milliseconds, 26.3, 0.021);
    studio.samples(desk, 2.031, 3).front() = {};
    EXPECT_THAT(studio.judge(pluggedIn()).reasons, ElementsAre(HasSubstr("Desk sounded again after 31.0 ms")))
        << "it counts from when nothing is missing any more";
}

TEST(ContinuityTests, OneThatDoesNotReturnFails) {
    Studio studio(chatter());
    EXPECT_THAT(studio.judge(pluggedIn()).reasons,
                ElementsAre(HasSubstr("Desk is silent"), "Desk didn't return"));
    studio.play(desk, 2.01, 8);
    std::ranges::fill(studio.samples(desk, 3.999, 4.5), Frame());
    EXPECT_THAT(studio.judge(pluggedIn()).reasons,
                ElementsAre("Desk doesn't carry the source to the end of the window"));
}

} // namespace
} // namespace velto::judge
