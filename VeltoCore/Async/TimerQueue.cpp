#include "VeltoCore/Async/TimerQueue.h"

namespace velto {

TimerQueue::~TimerQueue() {
    while (!timers_.empty())
        timers_.extract(timers_.begin());
}

TimerQueue::TimerID TimerQueue::add(ContinuousInstant due, Work work) {
    const TimerID timer = nextTimer_++;
    dates_.emplace(timer, due);
    timers_.emplace(std::pair(due, timer), std::move(work));
    return timer;
}

void TimerQueue::cancel(TimerID timer) noexcept {
    const auto found = dates_.find(timer);
    if (found == dates_.end()) return;
    const auto cancelled = timers_.extract({found->second, timer});
    dates_.erase(found);
}

std::optional<ContinuousInstant> TimerQueue::next() const noexcept {
    if (timers_.empty()) return std::nullopt;
    return timers_.begin()->first.first;
}

void TimerQueue::runDue(ContinuousInstant now) {
    while (!timers_.empty() && timers_.begin()->first.first <= now) {
        const auto timer = timers_.extract(timers_.begin());
        dates_.erase(timer.key().second);
        timer.mapped()();
    }
}

} // namespace velto
