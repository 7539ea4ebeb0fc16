#include "Tools/Showcase/Showcase.h"

namespace velto {

void playShowcase(Stage& stage) {
    playOutputsThatGoAndReturn(stage);
    playSyncTest(stage);
    playMasterVolume(stage);
    playChoiceOfSomebodyElse(stage);
    playCrashAndRecovery(stage);
    playPreset(stage);
    playUnattended(stage);
    playSleep(stage);
    playPause(stage);
    playLateSpeaker(stage);
    playServerRestart(stage);
    playNothingLeft(stage);
}

} // namespace velto
