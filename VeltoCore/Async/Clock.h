// The two times the program knows: a continuous clock for intervals and a wall clock for dates.
//
// They advance separately: the wall clock can be set, and the continuous one keeps counting while the machine
// sleeps. Both are injected, so tests can move each on its own.
#pragma once

#include "VeltoCore/Foundation/Date.h"

#include <chrono>

namespace velto {

using Duration = std::chrono::nanoseconds;

/// A point on the continuous clock: time since an arbitrary start, never set back, counting through sleep.
using ContinuousInstant = std::chrono::duration<Duration::rep, Duration::period>;

class Clock {
  public:
    virtual ~Clock() = default;
    virtual ContinuousInstant continuousNow() const noexcept = 0;
    virtual Date now() const noexcept = 0;
};

} // namespace velto
