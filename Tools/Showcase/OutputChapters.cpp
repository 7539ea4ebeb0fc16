#include "Tools/Showcase/Showcase.h"

#include <string>

namespace velto {

namespace {

void waitForQuestion(Stage& stage, const std::string& output) {
    stage.velto().waitUntil([&] { return stage.velto().question() == output; },
                            output.empty() ? "the question is answered" : "the user is asked");
}

} // namespace

void playOutputsThatGoAndReturn(Stage& stage) {
    stage.step("before", "the default output alone plays", {{desk}, desk, false}, [&](StoryStep&) {
        stage.launchVelto();
        stage.waitForSound(desk);
    });

    stage.step("start on two outputs", "both play in step", {{desk, usb}, aggregate, true},
               [&](StoryStep& step) { stage.startOn(step, desk, usb); });

    stage.step("unplug one, set to keep playing", "the other plays on, no sample lost",
               {{usb}, aggregate, true}, [&](StoryStep& step) {
                   stage.velto().require({"settings", "set", "disconnectBehavior", "keepPlaying"});
                   step.survivor = {usb, stage.unplug(desk), 0};
                   stage.velto().waitForState("degraded");
               });

    stage.step("plug it back", "both play in step again", {{desk, usb}, aggregate, true},
               [&](StoryStep& step) {
                   step.skewLimit = 0;
                   stage.expectReturn(step, desk, stage.plug(desk));
                   stage.velto().waitForState("playing");
               });

    stage.step("unplug one, set to ask; answer: keep", "the other plays on, no sample lost",
               {{desk}, aggregate, true}, [&](StoryStep& step) {
                   stage.velto().require({"settings", "set", "disconnectBehavior", "askUser"});
                   step.survivor = {desk, stage.unplug(usb), 0};
                   waitForQuestion(stage, usb);
                   stage.velto().require({"answer", "keep"});
                   waitForQuestion(stage, "");
                   Stage::check(stage.velto().state() == "degraded", "the session is not degraded");
               });
}

void playUnattended(Stage& stage) {
    stage.step("unplug one, set to ask; answer: stop", "the output from before plays",
               {{display}, display, false}, [&](StoryStep& step) {
                   stage.velto().require({"settings", "set", "disconnectBehavior", "askUser"});
                   stage.unplug(usb);
                   waitForQuestion(stage, usb);
                   stage.operate(step, "Answer: stop", {"answer", "stop"});
                   waitForQuestion(stage, "");
               });

    stage.step("plug it back, set to connect then", "the preset starts by itself",
               {{usb, speaker}, aggregate, true}, [&](StoryStep& step) {
                   // As both were left: one by the preset, one by another program.
                   step.gains = {{usb, gainAt(0.7)}, {speaker, gainAt(0.8)}};
                   step.skewLimit = 0;
                   stage.velto().require({"presets", "auto-connect", "Evening"});
                   stage.velto().require({"settings", "set", "autoConnect", "on"});
                   stage.plug(usb);
                   stage.velto().waitForState("playing");
               });

    stage.step("unplug one, set to stop then", "the output from before plays", {{display}, display, false},
               [&](StoryStep&) {
                   stage.velto().require({"settings", "set", "disconnectBehavior", "pauseGroup"});
                   stage.unplug(usb);
                   stage.velto().waitForState("idle");
               });
}

} // namespace velto
