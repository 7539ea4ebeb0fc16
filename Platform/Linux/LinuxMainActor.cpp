#include "Platform/Linux/LinuxMainActor.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <system_error>
#include <vector>

namespace velto {

namespace {

constexpr Duration forever = std::chrono::hours(24);

timespec timespecOf(Duration sinceStart) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(sinceStart);
    return {static_cast<time_t>(seconds.count()), static_cast<long>((sinceStart - seconds).count())};
}

} // namespace

LinuxMainActor::LinuxMainActor()
    : wakeUp_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      alarm_(timerfd_create(CLOCK_BOOTTIME, TFD_CLOEXEC | TFD_NONBLOCK)) {
    if (wakeUp_ < 0 || alarm_ < 0)
        throw std::system_error(errno, std::generic_category(), "The main loop could not start");
    for (const int descriptor : {wakeUp_, alarm_})
        watchReadable(descriptor, [descriptor] {
            std::uint64_t count = 0;
            [[maybe_unused]] const ssize_t size = read(descriptor, &count, sizeof count);
        });
}

LinuxMainActor::~LinuxMainActor() {
    close(wakeUp_);
    close(alarm_);
}

ContinuousInstant LinuxMainActor::continuousNow() const noexcept {
    timespec time{};
    clock_gettime(CLOCK_BOOTTIME, &time); // goes on while the machine sleeps
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

Date LinuxMainActor::now() const noexcept {
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    const double unixSeconds = static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
    return {unixSeconds - referenceDateInUnixSeconds};
}

void LinuxMainActor::post(Work work) {
    {
        const std::scoped_lock lock(mutex_);
        posted_.push_back(std::move(work));
    }
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t size = write(wakeUp_, &one, sizeof one);
}

MainActor::TimerID LinuxMainActor::postAfter(Duration interval, Work work) {
    const TimerID timer = nextTimer_++;
    const ContinuousInstant date = continuousNow() + std::max(interval, Duration::zero());
    timerDates_.emplace(timer, date);
    timers_.emplace(std::pair(date, timer), std::move(work));
    return timer;
}

void LinuxMainActor::cancelTimer(TimerID timer) noexcept {
    const auto found = timerDates_.find(timer);
    if (found == timerDates_.end()) return;
    timers_.erase({found->second, timer});
    timerDates_.erase(found);
}

void LinuxMainActor::watchReadable(int descriptor, std::function<void()> handler) {
    watched_.insert_or_assign(descriptor, Watch{std::move(handler), nextWatch_++});
}

void LinuxMainActor::unwatch(int descriptor) noexcept { watched_.erase(descriptor); }

void LinuxMainActor::run() {
    while (!isQuitting_)
        turn(forever);
    isQuitting_ = false;
}

void LinuxMainActor::quit() {
    post([this] { isQuitting_ = true; });
}

bool LinuxMainActor::runUntil(const std::function<bool()>& condition, Duration timeout) {
    const ContinuousInstant deadline = continuousNow() + timeout;
    while (!condition()) {
        const Duration left = deadline - continuousNow();
        if (left <= Duration::zero()) return false;
        turn(left);
    }
    return true;
}

void LinuxMainActor::turn(Duration longestWait) {
    wait(longestWait);
    runPosted();
    runTimers();
}

void LinuxMainActor::runPosted() {
    std::deque<Work> ready; // what these post runs in the next turn
    {
        const std::scoped_lock lock(mutex_);
        ready.swap(posted_);
    }
    for (Work& work : ready)
        work();
}

void LinuxMainActor::runTimers() {
    const ContinuousInstant date = continuousNow();
    while (!timers_.empty() && timers_.begin()->first.first <= date) {
        const auto first = timers_.begin();
        const Work work = std::move(first->second);
        timerDates_.erase(first->first.second);
        timers_.erase(first);
        work();
    }
}

void LinuxMainActor::wait(Duration longest) {
    const ContinuousInstant date = continuousNow();
    if (!timers_.empty()) longest = std::min(longest, timers_.begin()->first.first - date);
    const bool waits = longest > Duration::zero();
    const itimerspec end{{}, waits ? timespecOf(date + longest) : timespec{}};
    timerfd_settime(alarm_, TFD_TIMER_ABSTIME, &end, nullptr);

    std::vector<pollfd> descriptors;
    descriptors.reserve(watched_.size());
    for (const auto& entry : watched_)
        descriptors.push_back({entry.first, POLLIN, 0});
    if (poll(descriptors.data(), descriptors.size(), waits ? -1 : 0) <= 0) return;

    const std::uint64_t polled = nextWatch_; // what a handler watches from here on was not
    for (const pollfd& ready : descriptors) {
        if (ready.revents == 0) continue;
        const auto found = watched_.find(ready.fd); // an earlier handler may have ended it
        if (found == watched_.end() || found->second.number >= polled) continue;
        const std::function<void()> handler = found->second.handler; // it may end itself
        handler();
    }
}

} // namespace velto
