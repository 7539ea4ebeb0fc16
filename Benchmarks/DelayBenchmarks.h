// DelayBenchmarks: the figures of an output that is heard later than the other.
#pragma once

#include "Benchmarks/SoundWorkshop.h"

namespace velto::DelayBenchmarks {

/// CPU and memory of what delays.
void cost(SoundWorkshop& workshop);
/// What is heard while what delays is killed again and again.
void kills(SoundWorkshop& workshop);
/// What is heard while the delay changes, and while what delays is held up.
void changes(SoundWorkshop& workshop);
/// Wake-ups while nothing plays; takes over a minute.
void rest(SoundWorkshop& workshop);

} // namespace velto::DelayBenchmarks
