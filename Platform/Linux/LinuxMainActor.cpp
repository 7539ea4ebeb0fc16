#include "Platform/Linux/LinuxMainActor.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <system_error>
#include <utility>
#include <vector>

namespace velto {

namespace {

constexpr Duration forever = std::chrono::hours(24);

timespec timespecOf(Duration sinceStart) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(sinceStart);
    return {static_cast<time_t>(seconds.count()), static_cast<long>((sinceStart - seconds).count())};
}

void acknowledge(int descriptor) {
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t size = read(descriptor, &count, sizeof count);
}

} // namespace

LinuxMainActor::LinuxMainActor()
    : poll_(epoll_create1(EPOLL_CLOEXEC)), wakeUp_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      alarm_(timerfd_create(CLOCK_BOOTTIME, TFD_CLOEXEC | TFD_NONBLOCK)) {
    if (poll_ < 0 || wakeUp_ < 0 || alarm_ < 0)
        throw std::system_error(errno, std::generic_category(), "The main loop could not start");
    watchReadable(wakeUp_, [this] { acknowledge(wakeUp_); });
    watchReadable(alarm_, [this] {
        acknowledge(alarm_);
        alarmDate_.reset();
    });
}

LinuxMainActor::~LinuxMainActor() {
    close(wakeUp_);
    close(alarm_);
    close(poll_);
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
    const TimerID timer =
        timers_.add(continuousNow() + std::max(interval, Duration::zero()), std::move(work));
    setAlarm();
    return timer;
}

void LinuxMainActor::cancelTimer(TimerID timer) noexcept { timers_.cancel(timer); }

void LinuxMainActor::watchReadable(int descriptor, std::function<void()> handler) {
    const auto known = watched_.find(descriptor);
    Watch watch = known == watched_.end() ? Watch() : known->second;
    watch.readable = std::move(handler);
    wait(descriptor, std::move(watch));
}

void LinuxMainActor::watchWritable(int descriptor, std::function<void()> handler) {
    const auto known = watched_.find(descriptor);
    Watch watch = known == watched_.end() ? Watch() : known->second;
    watch.writable = std::move(handler);
    wait(descriptor, std::move(watch));
}

void LinuxMainActor::wait(int descriptor, Watch watch) {
    epoll_event event{(watch.readable ? EPOLLIN : 0U) | (watch.writable ? EPOLLOUT : 0U), {.fd = descriptor}};
    const int operation = watched_.contains(descriptor) ? EPOLL_CTL_MOD : EPOLL_CTL_ADD;
    watch.isAlwaysReadable = epoll_ctl(poll_, operation, descriptor, &event) < 0 && errno == EPERM;
    watch.number = nextWatch_++;
    watched_.insert_or_assign(descriptor, std::move(watch));
}

void LinuxMainActor::unwatch(int descriptor) noexcept {
    if (watched_.erase(descriptor) > 0) epoll_ctl(poll_, EPOLL_CTL_DEL, descriptor, nullptr);
}

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

void LinuxMainActor::turnReady() {
    if (!isInTurn_) turn(Duration::zero());
}

void LinuxMainActor::turn(Duration longestWait) {
    isInTurn_ = true;
    wait(longestWait);
    runPosted();
    timers_.runDue(continuousNow());
    setAlarm();
    isInTurn_ = false;
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

void LinuxMainActor::wait(Duration longest) {
    const bool hasPlainFile =
        std::ranges::any_of(watched_, [](const auto& entry) { return entry.second.isAlwaysReadable; });
    const bool waits = longest > Duration::zero() && !hasPlainFile;
    if (waits) setAlarm(continuousNow() + longest);

    const std::uint64_t polled = nextWatch_; // what a handler watches from here on was not
    std::array<epoll_event, 64> events{};    // more of them are told of in the next turn
    const int count = epoll_wait(poll_, events.data(), static_cast<int>(events.size()), waits ? -1 : 0);
    std::vector<std::pair<int, std::uint32_t>> ready;
    for (int i = 0; i < count; ++i) {
        const epoll_event& event = events[static_cast<std::size_t>(i)];
        ready.emplace_back(event.data.fd, event.events);
    }
    for (const auto& [descriptor, watch] : watched_)
        if (watch.isAlwaysReadable) ready.emplace_back(descriptor, EPOLLIN);
    for (const auto& [descriptor, told] : ready)
        callHandlers(descriptor, told, polled);
}

void LinuxMainActor::callHandlers(int descriptor, std::uint32_t events, std::uint64_t polled) {
    const auto found = watched_.find(descriptor); // an earlier handler may have ended it
    if (found == watched_.end() || found->second.number >= polled) return;
    const std::uint32_t broken = EPOLLHUP | EPOLLERR; // whoever reads or writes learns it
    if (found->second.writable && (events & (EPOLLOUT | broken))) {
        Watch watch = found->second;
        const auto handler = std::exchange(watch.writable, {});
        wait(descriptor, std::move(watch));
        handler();
        return; // what can be read still can in the next turn
    }
    const std::function<void()> handler = found->second.readable; // it may end itself
    if (handler && (events & (EPOLLIN | broken))) handler();
}

void LinuxMainActor::setAlarm(std::optional<ContinuousInstant> latest) {
    std::optional<ContinuousInstant> date = latest;
    if (const auto next = timers_.next()) date = std::min(*next, latest.value_or(ContinuousInstant::max()));
    if (date == alarmDate_) return;
    alarmDate_ = date;
    // A time that has passed sounds at once; zero would switch the alarm off.
    const itimerspec end{{}, date ? timespecOf(std::max(*date, ContinuousInstant(1))) : timespec{}};
    timerfd_settime(alarm_, TFD_TIMER_ABSTIME, &end, nullptr);
}

} // namespace velto
