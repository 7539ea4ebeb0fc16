// DispatchMainActor: the main actor on the main dispatch queue, which the loops of AppKit and Qt drain.
//
// Made on the main thread and used there; only post() may be called from another thread. The queue is not
// drained again from within a turn: nothing that a turn does may run a loop of its own and wait for the
// actor.
#pragma once

#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Async/TimerQueue.h"

#include <array>
#include <functional>

namespace velto {

class DispatchMainActor final : public MainActor {
  public:
    DispatchMainActor();
    DispatchMainActor(const DispatchMainActor&) = delete;
    DispatchMainActor& operator=(const DispatchMainActor&) = delete;
    /// What was posted still runs; timers don't.
    ~DispatchMainActor() override;

    /// Runs the main loop until the condition holds or the time is over; answers whether it holds. Not from
    /// within a turn.
    bool runUntil(const std::function<bool()>& condition, Duration timeout);

    ContinuousInstant continuousNow() const noexcept override;
    Date now() const noexcept override;
    void post(Work work) override;
    TimerID postAfter(Duration interval, Work work) override;
    void cancelTimer(TimerID timer) noexcept override;

  protected:
    void performBlocking(Work work, Work done) override;

  private:
    void runTimers();
    /// Sets the alarms to the first timer.
    void setAlarms();

    TimerQueue timers_;
    /// Timer sources of the system, as opaque handles: one counts the time that the machine is awake, the
    /// other goes by the wall clock and so through its sleep. Either may come early or late: what is due is
    /// told by the continuous clock.
    std::array<void*, 2> alarms_{};
};

} // namespace velto
