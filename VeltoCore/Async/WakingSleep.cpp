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

Task<SleepResult> wakingSleep(MainActor& actor, Duration interval, CancellationToken token) {
    for (Duration left = interval; left > Duration::zero(); left -= std::min(left, slice)) {
        auto slept = actor.sleep(std::min(left, slice), token);
        if (co_await slept == SleepResult::cancelled) co_return SleepResult::cancelled;
    }
    co_return SleepResult::elapsed;
}

} // namespace velto
