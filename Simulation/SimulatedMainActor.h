// SimulatedMainActor: the main actor in virtual time.
//
// Owned by a test, a benchmark or the simulator; one thread. Time moves only when asked, never by itself and
// never by waiting. Posted work and timers are one queue, ordered by the time they are due and, at equal
// times, by the order of posting. Whoever uses it must die first: make it the first member of a fixture.
//
// A loop that would never end throws std::logic_error and says why.
#pragma once

#include "VeltoCore/Async/MainActor.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>

namespace velto {

class SimulatedMainActor final : public MainActor {
  public:
    SimulatedMainActor() = default;
    SimulatedMainActor(const SimulatedMainActor&) = delete;
    SimulatedMainActor& operator=(const SimulatedMainActor&) = delete;
    /// Drops what was never run.
    ~SimulatedMainActor() override;

    // Running

    /// Runs what is due now, and what that posts, until nothing is due. Time stands still.
    void runReady();
    /// Runs until nothing is left, moving time on to each next timer.
    void runUntilIdle();
    /// Moves both clocks on by the interval and runs all that becomes due on the way, each at its own time.
    void advance(Duration interval);
    /// Runs the one next turn, moving time on to it if nothing is due; false when nothing is left.
    bool runNextTurn();

    // Clocks

    /// The machine sleeps: both clocks count on, nothing runs. What fell due meanwhile is due at the wake.
    void sleepMachine(Duration interval) noexcept { now_ += interval; }

    ContinuousInstant continuousNow() const noexcept override { return now_; }
    Date now() const noexcept override { return {wallClockAtStart + elapsed()}; }

    // Looking

    /// Timers that have neither run nor been cancelled.
    std::size_t pendingTimers() const noexcept { return timers_.size(); }
    /// Whether anything is due now.
    bool isReady() const noexcept { return !queue_.empty() && queue_.begin()->first.first <= now_; }
    /// Turns run so far.
    std::uint64_t turnCount() const noexcept { return turnCount_; }

    /// How long a blocking call takes from now on: it is made, and its value is there, that much later.
    void setBlockingCallDuration(Duration interval) noexcept { blockingCallDuration_ = interval; }

    void post(Work work) override;
    TimerID postAfter(Duration interval, Work work) override;
    void cancelTimer(TimerID timer) noexcept override;

  protected:
    void performBlocking(Work work, Work done) override;

  private:
    using Key = std::pair<ContinuousInstant, std::uint64_t>;

    static constexpr std::uint64_t turnLimit = 100'000; // without time moving on
    static constexpr Duration idleLimit = std::chrono::hours(48);

    double elapsed() const noexcept { return std::chrono::duration<double>(now_).count(); }
    std::uint64_t enqueue(ContinuousInstant due, Work work);
    void runReadyTurns();
    void runTurn();
    void requireOutsideTurn() const;

    std::map<Key, Work> queue_;
    std::map<TimerID, ContinuousInstant> timers_;
    std::uint64_t nextNumber_ = 1;
    std::uint64_t turnCount_ = 0;
    ContinuousInstant now_{};
    static constexpr double wallClockAtStart = 789'000'000; // on the first day of 2026
    Duration blockingCallDuration_{};
    bool isInTurn_ = false;
};

} // namespace velto
