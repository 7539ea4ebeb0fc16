// RealLoop: a main actor in real time, and its loop, for what is tested on it.
#pragma once

#include "Tests/Contract/MainActorUnderTest.h"

#include <chrono>

namespace velto {

template <class Actor>
class RealLoop final : public MainActorUnderTest {
  public:
    Actor& actor() override { return actor_; }
    bool runUntil(const std::function<bool()>& condition) override {
        return actor_.runUntil(condition, std::chrono::seconds(10));
    }
    /// The same for what comes true without a turn of this loop, such as by a thread of the system.
    bool runUntilSeen(const std::function<bool()>& condition) {
        MainActor::TimerID timer = 0;
        const std::function<void()> lookAgain = [&] {
            timer = actor_.postAfter(std::chrono::milliseconds(1), lookAgain);
        };
        lookAgain();
        const bool holds = runUntil(condition);
        actor_.cancelTimer(timer);
        return holds;
    }

  private:
    Actor actor_;
};

} // namespace velto
