// TimerQueue: the timers of a main actor: which is due next, and what it runs.
//
// Part of a platform's main actor, which wakes up when one is due; its thread only.
#pragma once

#include "VeltoCore/Async/Clock.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <utility>

namespace velto {

class TimerQueue {
  public:
    using Work = std::function<void()>;
    using TimerID = std::uint64_t;

    TimerQueue() = default;
    TimerQueue(const TimerQueue&) = delete;
    TimerQueue& operator=(const TimerQueue&) = delete;
    /// Drops what was never run.
    ~TimerQueue();

    TimerID add(ContinuousInstant due, Work work);
    /// An unknown or elapsed timer is ignored.
    void cancel(TimerID timer) noexcept;
    /// When the next one is due; none when there is no timer.
    std::optional<ContinuousInstant> next() const noexcept;
    /// Runs what is due by then, by time and then by the order of adding, what is added meanwhile included.
    void runDue(ContinuousInstant now);

  private:
    // What work holds may cancel timers when it goes: it is always taken out of the map first.
    std::map<std::pair<ContinuousInstant, TimerID>, Work> timers_;
    std::map<TimerID, ContinuousInstant> dates_;
    TimerID nextTimer_ = 1;
};

} // namespace velto
