// OperationMarker: says which one of a component's long operations runs, and lets others wait until none
// does.
//
// There is no queue of requests: when an operation ends, everybody who waited for it is resumed, each in a
// turn of its own, in the order they came, whether or not something else runs by then. So whoever waited must
// look again at what it finds, and the second of two that waited finds the first at work.
#pragma once

#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Async/Task.h"
#include "VeltoCore/Observation/Lifetime.h"

#include <algorithm>
#include <coroutine>
#include <deque>
#include <optional>
#include <utility>

namespace velto {

template <class Operation>
class OperationMarker {
  public:
    explicit OperationMarker(MainActor& actor) : actor_(actor) {}
    OperationMarker(const OperationMarker&) = delete;
    OperationMarker& operator=(const OperationMarker&) = delete;

    /// What runs now; none when nothing does.
    std::optional<Operation> running() const noexcept { return running_; }
    bool isRunning(Operation operation) const noexcept { return running_ == operation; }

    /// Marks the operation as running for the life of the returned value. Only while nothing runs.
    class Mark {
      public:
        Mark(OperationMarker& marker, Operation operation) : marker_(marker) { marker_.running_ = operation; }
        Mark(const Mark&) = delete;
        Mark& operator=(const Mark&) = delete;
        ~Mark() {
            marker_.running_.reset();
            marker_.wakeAll();
        }

      private:
        OperationMarker& marker_;
    };

    /// Suspends once until a running operation ends: loop on running() around it.
    class [[nodiscard]] Ended {
      public:
        explicit Ended(OperationMarker& marker) : marker_(marker) {}
        Ended(const Ended&) = delete;
        Ended& operator=(const Ended&) = delete;
        ~Ended() {
            std::erase(marker_.waiters_, this);
            std::erase(marker_.due_, this);
        }
        bool await_ready() const noexcept { return !marker_.running_; }
        void await_suspend(std::coroutine_handle<> waiter) {
            waiter_ = waiter;
            marker_.waiters_.push_back(this);
        }
        void await_resume() const noexcept {}

      private:
        friend OperationMarker;
        OperationMarker& marker_;
        std::coroutine_handle<> waiter_;
    };
    Ended ended() { return Ended(*this); }

  private:
    void wakeAll() {
        for (Ended* waiter : std::exchange(waiters_, {})) {
            due_.push_back(waiter);
            actor_.post(lifetime_.whileAlive([this] {
                if (due_.empty()) return; // one of them has gone meanwhile
                const auto next = due_.front()->waiter_;
                due_.pop_front();
                next.resume();
            }));
        }
    }

    MainActor& actor_;
    std::optional<Operation> running_;
    std::deque<Ended*> waiters_; // for the end of what runs
    std::deque<Ended*> due_;     // ended; their turns are posted
    Lifetime lifetime_;
};

} // namespace velto
