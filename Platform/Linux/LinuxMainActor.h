// LinuxMainActor: the main actor over epoll(7).
//
// The thread that constructs it runs it: by run(), or, where another loop is in charge, by turning it
// whenever its descriptor can be read. Only post() may be called from another thread.
#pragma once

#include "Platform/POSIX/FileDescriptorWatcher.h"
#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Async/TimerQueue.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>

namespace velto {

class LinuxMainActor final : public MainActor, public FileDescriptorWatcher {
  public:
    LinuxMainActor();
    LinuxMainActor(const LinuxMainActor&) = delete;
    LinuxMainActor& operator=(const LinuxMainActor&) = delete;
    ~LinuxMainActor() override;

    /// Runs turns until quit() is called.
    void run();
    void quit();
    /// Runs turns until the condition holds or the time is over; answers whether it holds.
    bool runUntil(const std::function<bool()>& condition, Duration timeout);

    /// For another loop: can be read whenever turnReady() has something to do. Stays the actor's.
    int descriptor() const noexcept { return poll_; }
    /// Runs what is ready, once, without waiting. Does nothing from within a turn.
    void turnReady();

    ContinuousInstant continuousNow() const noexcept override;
    Date now() const noexcept override;
    void post(Work work) override;
    TimerID postAfter(Duration interval, Work work) override;
    void cancelTimer(TimerID timer) noexcept override;
    void watchReadable(int descriptor, std::function<void()> handler) override;
    void watchWritable(int descriptor, std::function<void()> handler) override;
    void unwatch(int descriptor) noexcept override;

  private:
    struct Watch {
        std::function<void()> readable;
        std::function<void()> writable;
        std::uint64_t number = 0;      // tells a descriptor from an earlier one of the same value
        bool isAlwaysReadable = false; // a plain file, which can't be waited for
    };

    /// Waits at most that long for something to do, then does all that is ready.
    void turn(Duration longestWait);
    void runPosted();
    void wait(Duration longest);
    /// Has the kernel wait for what there are handlers for.
    void wait(int descriptor, Watch watch);
    void callHandlers(int descriptor, std::uint32_t events, std::uint64_t polled);
    /// Sets the alarm to the first timer, or to the given time if that comes first.
    void setAlarm(std::optional<ContinuousInstant> latest = std::nullopt);

    std::mutex mutex_; // guards posted_ only
    std::deque<Work> posted_;
    TimerQueue timers_;
    std::map<int, Watch> watched_;
    std::uint64_t nextWatch_ = 1;
    int poll_ = -1;
    int wakeUp_ = -1; // an eventfd
    int alarm_ = -1;  // a timerfd: a timeout of the wait itself would stand still while the machine sleeps
    std::optional<ContinuousInstant> alarmDate_; // what the alarm is set to
    bool isInTurn_ = false;
    bool isQuitting_ = false;
};

} // namespace velto
