#include "Simulation/SimulatedMainActor.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace velto {

SimulatedMainActor::~SimulatedMainActor() {
    // What work holds may cancel timers when it goes: take it out of the queue first.
    while (!queue_.empty())
        queue_.extract(queue_.begin());
}

void SimulatedMainActor::post(Work work) { enqueue(now_, std::move(work)); }

MainActor::TimerID SimulatedMainActor::postAfter(Duration interval, Work work) {
    const ContinuousInstant due = now_ + std::max(interval, Duration::zero());
    const TimerID timer = enqueue(due, std::move(work));
    timers_.emplace(timer, due);
    return timer;
}

void SimulatedMainActor::cancelTimer(TimerID timer) noexcept {
    const auto found = timers_.find(timer);
    if (found == timers_.end()) return;
    const auto cancelled = queue_.extract({found->second, timer});
    timers_.erase(found);
}

void SimulatedMainActor::performBlocking(Work work, Work done) {
    postAfter(blockingCallDuration_, [work = std::move(work), done = std::move(done)] {
        work();
        done();
    });
}

std::uint64_t SimulatedMainActor::enqueue(ContinuousInstant due, Work work) {
    const std::uint64_t number = nextNumber_++;
    queue_.emplace(Key{due, number}, std::move(work));
    return number;
}

void SimulatedMainActor::runReady() {
    requireOutsideTurn();
    runReadyTurns();
}

void SimulatedMainActor::runUntilIdle() {
    requireOutsideTurn();
    const ContinuousInstant limit = now_ + idleLimit;
    runReadyTurns();
    while (!queue_.empty()) {
        now_ = std::max(now_, queue_.begin()->first.first);
        if (now_ > limit)
            throw std::logic_error("The loop is still busy after 48 hours: a timer renews itself");
        runReadyTurns();
    }
}

void SimulatedMainActor::advance(Duration interval) {
    requireOutsideTurn();
    const ContinuousInstant end = now_ + interval;
    runReadyTurns();
    while (!queue_.empty() && queue_.begin()->first.first <= end) {
        now_ = std::max(now_, queue_.begin()->first.first);
        runReadyTurns();
    }
    now_ = end;
}

bool SimulatedMainActor::runNextTurn() {
    requireOutsideTurn();
    if (queue_.empty()) return false;
    now_ = std::max(now_, queue_.begin()->first.first);
    runTurn();
    return true;
}

void SimulatedMainActor::runReadyTurns() {
    const std::uint64_t limit = turnCount_ + turnLimit;
    while (isReady()) {
        if (turnCount_ == limit) {
            throw std::logic_error("The loop ran " + std::to_string(turnLimit) + " turns at " +
                                   std::to_string(elapsed()) + " s: work keeps posting work");
        }
        runTurn();
    }
}

void SimulatedMainActor::runTurn() {
    struct Guard {
        bool& flag;
        explicit Guard(bool& flag) : flag(flag) { flag = true; }
        ~Guard() { flag = false; }
    };
    const auto turn = queue_.extract(queue_.begin());
    timers_.erase(turn.key().second);
    ++turnCount_;
    const Guard guard(isInTurn_);
    turn.mapped()();
}

void SimulatedMainActor::requireOutsideTurn() const {
    if (isInTurn_) throw std::logic_error("The loop can't be run from within one of its own turns");
}

} // namespace velto
