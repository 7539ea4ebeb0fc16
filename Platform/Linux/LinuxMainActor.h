// LinuxMainActor: the main actor over poll(2), for programs without a window.
//
// The thread that constructs it runs it. Only post() may be called from another thread.
#pragma once

#include "Platform/Linux/FileDescriptorWatcher.h"
#include "VeltoCore/Async/MainActor.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <utility>

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

    ContinuousInstant continuousNow() const noexcept override;
    Date now() const noexcept override;
    void post(Work work) override;
    TimerID postAfter(Duration interval, Work work) override;
    void cancelTimer(TimerID timer) noexcept override;
    void watchReadable(int descriptor, std::function<void()> handler) override;
    void unwatch(int descriptor) noexcept override;

  private:
    struct Watch {
        std::function<void()> handler;
        std::uint64_t number; // tells a descriptor from an earlier one of the same value
    };

    /// Waits at most that long for something to do, then does all that is ready.
    void turn(Duration longestWait);
    void runPosted();
    void runTimers();
    void wait(Duration longest);

    std::mutex mutex_; // guards posted_ only
    std::deque<Work> posted_;
    std::map<std::pair<ContinuousInstant, TimerID>, Work> timers_;
    std::map<TimerID, ContinuousInstant> timerDates_;
    std::map<int, Watch> watched_;
    TimerID nextTimer_ = 1;
    std::uint64_t nextWatch_ = 1;
    int wakeUp_ = -1; // an eventfd
    int alarm_ = -1;  // a timerfd: poll's own timeout would stand still while the machine sleeps
    bool isQuitting_ = false;
};

} // namespace velto
