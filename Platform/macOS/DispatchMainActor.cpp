#include "Platform/macOS/DispatchMainActor.h"

#include <CoreFoundation/CoreFoundation.h>
#include <dispatch/dispatch.h>
#include <mach/mach_time.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <memory>

namespace velto {

namespace {

dispatch_source_t sourceOf(void* alarm) { return static_cast<dispatch_source_t>(alarm); }

void performAndDelete(void* context) {
    const std::unique_ptr<MainActor::Work> work(static_cast<MainActor::Work*>(context));
    (*work)();
}

void submit(dispatch_queue_t queue, MainActor::Work work) {
    dispatch_async_f(queue, new MainActor::Work(std::move(work)), performAndDelete);
}

/// Without overflow: an interval of years is as good as any.
std::int64_t nanoseconds(Duration interval) {
    constexpr Duration longest = std::chrono::hours(24 * 365);
    return std::clamp(interval, Duration::zero(), longest).count();
}

} // namespace

DispatchMainActor::DispatchMainActor() {
    for (void*& alarm : alarms_) {
        dispatch_source_t source =
            dispatch_source_create(DISPATCH_SOURCE_TYPE_TIMER, 0, 0, dispatch_get_main_queue());
        dispatch_set_context(source, this);
        dispatch_source_set_event_handler_f(
            source, [](void* actor) { static_cast<DispatchMainActor*>(actor)->runTimers(); });
        dispatch_source_set_timer(source, DISPATCH_TIME_FOREVER, DISPATCH_TIME_FOREVER, 0);
        dispatch_activate(source);
        alarm = source;
    }
}

DispatchMainActor::~DispatchMainActor() {
    for (void* alarm : alarms_) {
        dispatch_source_cancel(sourceOf(alarm)); // on its own queue: its handler is not called any more
        dispatch_release(sourceOf(alarm));
    }
}

bool DispatchMainActor::runUntil(const std::function<bool()>& condition, Duration timeout) {
    const ContinuousInstant deadline = continuousNow() + timeout;
    while (!condition()) {
        const std::chrono::duration<double> left = deadline - continuousNow();
        if (left.count() <= 0) return false;
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, left.count(), true);
    }
    return true;
}

ContinuousInstant DispatchMainActor::continuousNow() const noexcept {
    static const mach_timebase_info_data_t base = [] {
        mach_timebase_info_data_t result{};
        mach_timebase_info(&result);
        return result;
    }();
    const auto ticks = static_cast<unsigned __int128>(mach_continuous_time());
    return ContinuousInstant(static_cast<Duration::rep>(ticks * base.numer / base.denom));
}

Date DispatchMainActor::now() const noexcept { return {CFAbsoluteTimeGetCurrent()}; }

void DispatchMainActor::post(Work work) { submit(dispatch_get_main_queue(), std::move(work)); }

MainActor::TimerID DispatchMainActor::postAfter(Duration interval, Work work) {
    const TimerID timer =
        timers_.add(continuousNow() + std::max(interval, Duration::zero()), std::move(work));
    setAlarms();
    return timer;
}

void DispatchMainActor::cancelTimer(TimerID timer) noexcept {
    timers_.cancel(timer);
    if (!timers_.next()) setAlarms(); // nothing to wake up for
}

void DispatchMainActor::performBlocking(Work work, Work done) {
    submit(dispatch_get_global_queue(QOS_CLASS_USER_INITIATED, 0),
           [work = std::move(work), done = std::move(done)]() mutable {
               work();
               submit(dispatch_get_main_queue(), std::move(done)); // the actor may be gone by then
           });
}

void DispatchMainActor::runTimers() {
    timers_.runDue(continuousNow());
    setAlarms();
}

void DispatchMainActor::setAlarms() {
    dispatch_time_t awake = DISPATCH_TIME_FOREVER;
    dispatch_time_t wall = DISPATCH_TIME_FOREVER;
    if (const auto next = timers_.next()) {
        const std::int64_t interval = nanoseconds(*next - continuousNow());
        awake = dispatch_time(DISPATCH_TIME_NOW, interval);
        wall = dispatch_walltime(nullptr, interval);
    }
    dispatch_source_set_timer(sourceOf(alarms_[0]), awake, DISPATCH_TIME_FOREVER, 0);
    dispatch_source_set_timer(sourceOf(alarms_[1]), wall, DISPATCH_TIME_FOREVER, 0);
}

} // namespace velto
