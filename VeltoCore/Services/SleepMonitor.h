// SleepMonitor: tells when the machine falls asleep and when it wakes.
#pragma once

#include "VeltoCore/Services/ApplicationHost.h"

namespace velto {

class SleepMonitor {
  public:
    using SleepObserver = ApplicationHost::SleepObserver;

    virtual ~SleepMonitor() = default;
    /// From now on, in place of the observer of before. Empty handlers for none.
    virtual void observe(SleepObserver observer) = 0;
};

} // namespace velto
