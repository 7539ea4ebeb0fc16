// Showcase: the story that is told on real sound, a chapter a function. A step that fails is noted, and the
// next one is tried.
#pragma once

#include "Tools/Showcase/Stage.h"

namespace velto {

/// All chapters in their order.
void playShowcase(Stage& stage);

// Two outputs play together, and one of them goes and returns. (OutputChapters.cpp)

void playOutputsThatGoAndReturn(Stage& stage);
/// What goes on by itself once it's set so: stopping, starting.
void playUnattended(Stage& stage);

// What the session does to the sound. (VolumeChapters.cpp)

void playSyncTest(Stage& stage);
void playMasterVolume(Stage& stage);
void playPreset(Stage& stage);

// Outputs that sound late where the listener is. (SyncChapters.cpp)

void playLateSpeaker(Stage& stage);

// What others do to the session. (InterruptionChapters.cpp)

void playChoiceOfSomebodyElse(Stage& stage);
void playCrashAndRecovery(Stage& stage);
void playSleep(Stage& stage);
void playPause(Stage& stage);
void playServerRestart(Stage& stage);
void playNothingLeft(Stage& stage);

} // namespace velto
