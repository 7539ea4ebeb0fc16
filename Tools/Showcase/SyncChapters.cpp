#include "Tools/Showcase/Showcase.h"

#include "Tools/SoundLab/SoundRoom.h"

namespace velto {

namespace {

/// The kitchen speaker, as a Bluetooth one may be; and what of it a listener can't hear, in samples.
constexpr double late = 180;
constexpr std::int64_t together = 5;
/// From the press to the answer, in milliseconds.
constexpr double alignmentLimit = 6000;

VirtualRoom kitchen() {
    VirtualRoom room;
    room.outputs = {{{.milliseconds = 2.5, .gain = 0.4}, {.milliseconds = 2.5 + late, .gain = 0.25}}};
    room.reverberationSeconds = 0.3;
    room.directToReverberant = 3;
    room.noise = 0.002;
    return room;
}

} // namespace

void playLateSpeaker(Stage& stage) {
    const auto heard = [](StoryStep& step, std::int64_t limit) {
        step.lateness = {{speaker, late}};
        step.skewLimit = limit;
    };
    stage.step("a speaker that sounds 180 ms late", "heard 180 ms apart", {{desk, speaker}, aggregate, true},
               [&](StoryStep& step) {
                   stage.operate(step, "Play Together", {"play", desk, speaker});
                   heard(step, 8640);
               });

    stage.step("aligned with a microphone", "heard together, within 0.1 ms",
               {{desk, speaker}, aggregate, true}, [&](StoryStep& step) {
                   heard(step, together);
                   {
                       const SoundRoom room(stage.socket(), kitchen(), {desk, speaker});
                       stage.operate(step, "Align", {"align", SoundRoom::inputName});
                       step.limitMilliseconds = alignmentLimit;
                   }
                   stage.waitForSound(desk);
                   stage.waitForSound(speaker);
               });

    stage.step("killed while in step", "both play on, heard together", {{desk, speaker}, aggregate, true},
               [&](StoryStep& step) {
                   heard(step, together);
                   step.survivor = {speaker, stage.mark("SIGKILL"), 0};
                   stage.killVelto();
               });

    stage.step("launched again, played again", "heard together at once", {{desk, speaker}, aggregate, true},
               [&](StoryStep& step) {
                   stage.launchVelto();
                   stage.operate(step, "Play Together", {"play", desk, speaker});
                   heard(step, together);
                   stage.waitForSound(desk);
               });

    stage.step("stop", "the output from before plays", {{display}, display, false},
               [&](StoryStep& step) { stage.operate(step, "Stop", {"stop"}); });
}

} // namespace velto
