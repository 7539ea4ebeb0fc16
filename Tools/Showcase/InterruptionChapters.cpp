#include "Tools/Showcase/Showcase.h"

#include <chrono>
#include <csignal>
#include <string>

namespace velto {

using namespace std::chrono_literals;

namespace {

/// After so many seconds the session manager looks after outputs that fell asleep.
constexpr double sessionManagerTimer = 5.5;

} // namespace

void playChoiceOfSomebodyElse(Stage& stage) {
    stage.step("another output picked by someone else", "the session ends, that output plays",
               {{display}, display, false}, [&](StoryStep&) {
                   stage.mark("Living Room TV picked");
                   stage.lab().pickDefault(display);
                   stage.velto().waitForState("idle");
                   for (const char* output : {desk, usb})
                       stage.lab().setChannelVolumes(output, 1);
               });
}

void playCrashAndRecovery(Stage& stage) {
    stage.step("start again", "both play in step", {{desk, speaker}, aggregate, true},
               [&](StoryStep& step) { stage.startOn(step, desk, speaker); });

    stage.step("killed with SIGKILL while playing", "both play on", {{desk, speaker}, aggregate, true},
               [&](StoryStep& step) {
                   step.skewLimit = 0;
                   step.survivor = {speaker, stage.mark("SIGKILL"), 0};
                   stage.killVelto();
               });

    stage.step("launched again, recovery", "the output from before plays", {{display}, display, false},
               [&](StoryStep&) {
                   stage.mark("Launched again");
                   stage.launchVelto();
               });
}

void playSleep(Stage& stage) {
    stage.step("asleep and awake, all is well", "both play on, no sample lost",
               {{usb, speaker}, aggregate, true}, [&](StoryStep& step) {
                   stage.velto().require({"settings", "set", "disconnectBehavior", "keepPlaying"});
                   stage.plug(usb);
                   stage.velto().waitForState("playing");
                   stage.waitForSound(usb);
                   step.skewLimit = 0;
                   step.from = stage.mark("Asleep");
                   stage.fallAsleep();
                   stage.wake();
                   step.survivor = {speaker, stage.mark("Awake"), 0};
               });

    stage.step("asleep, one is unplugged", "the other plays on after waking", {{speaker}, aggregate, true},
               [&](StoryStep& step) {
                   stage.fallAsleep();
                   stage.unplug(usb);
                   stage.velto().waitForState("degraded");
                   step.from = stage.settled();
                   stage.wake();
                   step.survivor = {speaker, stage.mark("Awake"), 0};
               });

    stage.step("asleep, the aggregate is removed", "the session ends", {{display}, display, false},
               [&](StoryStep& step) {
                   stage.plug(usb);
                   stage.velto().waitForState("playing");
                   stage.fallAsleep();
                   stage.velto().process().signal(SIGSTOP); // asleep, it sees nothing of it
                   stage.mark("Aggregate removed");
                   stage.lab().unplug(aggregate);
                   stage.velto().process().signal(SIGCONT);
                   step.from = stage.settled();
                   stage.wake();
                   stage.mark("Awake");
                   stage.velto().waitForState("idle");
               });
}

void playPause(Stage& stage) {
    stage.step("the player pauses, and Stop follows", "silence, and the session manager lives",
               {{}, display, false}, [&](StoryStep& step) {
                   stage.velto().require({"play", desk, usb});
                   stage.waitForSound(usb);
                   stage.mark("Paused");
                   stage.endPlayer();
                   stage.waitForSilence(usb);
                   stage.operate(step, "Stop", {"stop"});
                   step.from = stage.settled();
                   stage.waitUntil(stage.now() + sessionManagerTimer);
                   step.to = stage.now(); // a session manager that crashed has no default output now
                   stage.startPlayer();
                   stage.waitForSound(display);
               });
}

void playServerRestart(Stage& stage) {
    stage.step("sound server killed, started again", "the session is made anew",
               {{desk, usb}, aggregate, true}, [&](StoryStep& step) {
                   step.skewLimit = 0;
                   stage.pickForGood(desk);
                   stage.velto().require({"play", desk, usb});
                   stage.waitForSound(usb);
                   stage.mark("Sound server killed");
                   stage.killServer();
                   stage.restartServer();
                   stage.mark("Sound server back");
                   Stage::check(stage.lab().waitUntil([&] { return stage.lab().exists(aggregate); }),
                                "the session was not made anew");
                   stage.startTape();
                   stage.startPlayer();
                   stage.waitForSound(usb);
               });
}

void playNothingLeft(Stage& stage) {
    stage.step("quit", "nothing is left behind", {{desk}, desk, false}, [&](StoryStep&) {
        stage.mark("Quit");
        stage.velto().require({"quit"});
        Stage::check(stage.velto().process().wait(3s) == 0, "Velto did not end by itself");
        // The lab may learn of it a bit later.
        SoundLab& lab = stage.lab();
        Stage::check(lab.waitUntil([&] { return !lab.exists(aggregate); }), "the aggregate is still there");
        for (const char* key :
             {"velto.previous.configured.sink", "velto.previous.alert.sink", "velto.previous.force-rate"})
            Stage::check(lab.waitUntil([&] { return !lab.settingsMetadata(key); }),
                         std::string("the server still holds ") + key);
    });
}

} // namespace velto
