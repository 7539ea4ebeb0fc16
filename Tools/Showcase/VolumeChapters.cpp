#include "Tools/Showcase/Showcase.h"

#include <cmath>
#include <map>
#include <string>

namespace velto {

namespace {

bool isSame(double one, double other) { return std::abs(one - other) < 0.001; }

void waitForVolume(Stage& stage, const std::string& output, double volume) {
    stage.velto().waitUntil(
        [&] {
            const auto told = stage.velto().volume(output);
            return told && isSame(*told, volume);
        },
        output + " has the volume " + std::to_string(volume));
}

} // namespace

void playSyncTest(Stage& stage) {
    stage.step("plug it back, sync test", "both click at the same samples", {{desk, usb}, aggregate, true},
               [&](StoryStep& step) {
                   stage.plug(usb);
                   stage.velto().waitForState("playing");
                   stage.endPlayer();
                   stage.waitForSilence(desk);
                   step.clicks = {0.5, 24000};
                   step.skewLimit = 0;
                   step.from = stage.mark("Sync test");
                   stage.velto().require({"test"});
                   step.to = stage.now();
                   stage.startPlayer();
                   stage.waitForSound(desk);
               });
}

void playMasterVolume(Stage& stage) {
    stage.step("master volume turned down", "both quieter, in proportion", {{desk, usb}, aggregate, true},
               [&](StoryStep& step) {
                   step.gains = {{desk, gainAt(0.8)}, {usb, gainAt(0.6)}};
                   step.skewLimit = 0;
                   stage.velto().require({"volume", "75%", usb});
                   stage.mark("Master volume 80 %");
                   stage.velto().require({"volume", "80%"});
                   waitForVolume(stage, desk, 0.8);
                   waitForVolume(stage, usb, 0.6);
               });
}

void playPreset(Stage& stage) {
    stage.step("start once more, save as a preset", "both play in step", {{usb, speaker}, aggregate, true},
               [&](StoryStep& step) {
                   stage.startOn(step, usb, speaker);
                   stage.velto().require({"volume", "70%", usb});
                   stage.velto().require({"presets", "save", "Evening"});
               });

    stage.step("stop", "the output from before plays", {{display}, display, false}, [&](StoryStep& step) {
        stage.operate(step, "Stop", {"stop"});
        stage.lab().setChannelVolumes(usb, 1); // somebody turns it up
    });

    stage.step("the preset, started", "both play in step", {{usb, speaker}, aggregate, true},
               [&](StoryStep& step) {
                   step.gains = {{usb, gainAt(0.7)}, {speaker, 1}};
                   step.skewLimit = 0;
                   stage.operate(step, "Preset", {"play", "Evening"});
               });

    stage.step("another program turns one down", "heard, seen, kept in the preset",
               {{usb, speaker}, aggregate, true}, [&](StoryStep& step) {
                   step.gains = {{usb, gainAt(0.7)}, {speaker, gainAt(0.8)}};
                   step.skewLimit = 0;
                   stage.mark("Kitchen Speaker turned down");
                   stage.lab().setChannelVolumes(speaker, static_cast<float>(gainAt(0.8)));
                   waitForVolume(stage, speaker, 0.8);
                   const std::map<std::string, double> kept = stage.velto().presetVolumes("Evening");
                   Stage::check(kept.size() == 2 && isSame(kept.at(usb), 0.7) &&
                                    isSame(kept.at(speaker), 0.8),
                                "the preset holds other volumes");
               });
}

} // namespace velto
