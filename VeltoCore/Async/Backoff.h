// Backoff: asks again for what was asked in vain, after a pause that doubles each time.
//
// Owned by who asks; main actor only. It knows neither what is asked nor what comes of it: its owner says
// when it was in vain, and when it is settled. No pause, no timer.
#pragma once

#include "VeltoCore/Async/MainActor.h"

#include <functional>
#include <optional>

namespace velto {

class Backoff {
  public:
    struct Pauses {
        Duration first;
        Duration longest;
        /// Asks once without a pause, before the first one.
        bool isAtOnceFirst = false;
        /// Asks no more where the next pause would be longer than that; else it is that long each time.
        bool endsAfterLongest = false;
    };

    /// `ask` is called in a turn of the main loop, or from within askIfDue(); it may call all of these.
    Backoff(MainActor& actor, Pauses pauses, std::function<void()> ask);
    Backoff(const Backoff&) = delete;
    Backoff& operator=(const Backoff&) = delete;
    ~Backoff() { reset(); }

    /// It was asked in vain: is asked again after the next pause. Ignored while a pause lasts.
    void askLater();
    /// Asks now if the pause is over: for who waits without letting the main loop turn.
    void askIfDue();
    /// It is settled, or no more wanted: nothing is asked, and the next pause is the first one again.
    void reset();
    /// Whether it was asked in vain since it was last settled.
    bool isUnsettled() const noexcept { return isUnsettled_; }

  private:
    Duration pauseBeforeAll() const noexcept;
    void askNow();

    struct Pending {
        MainActor::TimerID timer;
        ContinuousInstant due;
    };

    MainActor& actor_;
    Pauses pauses_;
    std::function<void()> ask_;
    std::optional<Pending> pending_;
    Duration nextPause_;
    bool isUnsettled_ = false;
};

} // namespace velto
