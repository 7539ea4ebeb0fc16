// LoopSource: something on which the loop of a program of the sound server's library does some work, for as
// long as the source lives.
#pragma once

#include <pipewire/loop.h>

#include <chrono>
#include <functional>

namespace velto {

class LoopSource {
  public:
    using Work = std::function<void()>;
    enum class Kind { event, timer, readable, signal };

    /// `number` is that of a descriptor, which stays the caller's, or of a signal. The work may end its own
    /// source.
    LoopSource(pw_loop* loop, Kind kind, Work work, int number = -1);
    LoopSource(const LoopSource&) = delete;
    LoopSource& operator=(const LoopSource&) = delete;
    ~LoopSource();

    /// Of an event: the work is done on the loop, once, soon. From any thread; never waits.
    void signal() noexcept;
    /// Of a timer: the work is done again and again; zero for no more.
    void setInterval(std::chrono::nanoseconds interval);

  private:
    pw_loop* loop_;
    Work work_;
    spa_source* source_ = nullptr;
};

} // namespace velto
