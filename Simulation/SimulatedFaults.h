// SimulatedFaults: how the simulated world misbehaves.
//
// Each is one line: `world.faults.neverAlive = true`. A fault that was switched on and never came to bear is
// reported by unconsumed(): a test that set it has not tested what it says.
#pragma once

#include "VeltoCore/Async/Clock.h"

#include <optional>
#include <string>
#include <vector>

namespace velto {

/// One fault, off at first. `false` switches a yes/no fault off.
template <class T>
class FaultSwitch {
  public:
    FaultSwitch& operator=(T value) {
        value_ = value == T{} ? std::nullopt : std::optional(value);
        isConsumed_ = false;
        return *this;
    }
    /// For the world: what the fault says; none when it is off.
    std::optional<T> consume() noexcept {
        isConsumed_ = isConsumed_ || value_.has_value();
        return value_;
    }
    bool isUnconsumed() const noexcept { return value_ && !isConsumed_; }

  private:
    std::optional<T> value_;
    bool isConsumed_ = false;
};

struct SimulatedFaults {
    /// A new aggregate never reports that it is alive.
    FaultSwitch<bool> neverAlive;
    /// A new aggregate is alive only so long after its creation.
    FaultSwitch<Duration> aliveAfter;
    /// Creating an aggregate makes nothing and answers device 0.
    FaultSwitch<bool> createsInvalidDevice;
    /// A new aggregate compensates drift exactly where it should not.
    FaultSwitch<bool> invertsDriftCompensation;
    /// The composition of an aggregate has no list of sub-devices.
    FaultSwitch<bool> hidesSubDevices;
    /// The active sub-devices are the plain devices, on which drift compensation is unknown.
    FaultSwitch<bool> plainSubDevices;
    /// A destroyed aggregate can be found for so long.
    FaultSwitch<Duration> lingersAfterDestroy;
    /// A device that comes back does not take part in the aggregate again.
    FaultSwitch<bool> doesNotRejoin;
    /// A device that comes back has another object ID.
    FaultSwitch<bool> returnsWithAnotherID;
    /// A rate takes so long to change; reads give the old one meanwhile.
    FaultSwitch<Duration> slowRateChange;
    /// Switching the default or alert output takes so long; reads give the old one meanwhile.
    FaultSwitch<Duration> slowOutputChange;
    /// What a hanging audio service is asked to change, it changes when it answers again.
    FaultSwitch<bool> obeysLate;
    /// Listeners are called before the call that causes the change returns.
    FaultSwitch<bool> notifiesSynchronously;

    /// The names of those that are on and have had no effect so far.
    std::vector<std::string> unconsumed() const;
};

} // namespace velto
