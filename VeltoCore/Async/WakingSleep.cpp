#include "VeltoCore/Async/WakingSleep.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace velto {

namespace {

using namespace std::chrono_literals;

/// A sleep of the machine makes one slice long; it counts as one all the same.
constexpr Duration slice = 500ms;

} // namespace

Task<SleepResult> wakingSleep(MainActor& actor, Duration interval, CancellationToken token,
                              std::function<bool()> goesOn) {
    for (Duration left = interval; left > Duration::zero();) {
        const Duration next = std::min(left, slice);
        auto slept = actor.sleep(next, token);
        const SleepResult result = co_await slept;
        // It may have been cancelled in the very turn in which it elapsed.
        if (result == SleepResult::cancelled || token.isCancelled()) co_return SleepResult::cancelled;
        if (goesOn && !goesOn()) co_return SleepResult::cancelled;
        left -= next;
    }
    co_return SleepResult::elapsed;
}

} // namespace velto
