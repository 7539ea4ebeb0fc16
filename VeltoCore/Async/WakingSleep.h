// wakingSleep: waits until the program could have run for so long. Time in which the machine sleeps doesn't
// count, which the continuous clock counts.
#pragma once

#include "VeltoCore/Async/Cancellation.h"
#include "VeltoCore/Async/Clock.h"
#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Async/Task.h"

#include <functional>

namespace velto {

/// The token ends it early, and so does `goesOn` where it answers no.
Task<SleepResult> wakingSleep(MainActor& actor, Duration interval, CancellationToken token,
                              std::function<bool()> goesOn = {});

} // namespace velto
