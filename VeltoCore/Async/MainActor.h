// The main actor: the one thread on which everything in the core runs, as an interface.
//
// A real event loop in the programs (Platform), virtual time in tests (Simulation). Work runs in turns:
// whatever is posted runs in a later turn, first in, first out. Implementations: post() and postAfter() may
// be called from within a turn; only post() may be called from another thread.
#pragma once

#include "VeltoCore/Async/Cancellation.h"
#include "VeltoCore/Async/Clock.h"
#include "VeltoCore/Async/Task.h"

#include <coroutine>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

namespace velto {

class MainActor;

enum class SleepResult { elapsed, cancelled };

/// Suspends until the continuous clock has passed the interval, or the token is cancelled.
class SleepAwaiter {
  public:
    SleepAwaiter(MainActor& actor, Duration interval, CancellationToken token)
        : actor_(actor), interval_(interval), token_(std::move(token)) {}
    SleepAwaiter(const SleepAwaiter&) = delete;
    SleepAwaiter& operator=(const SleepAwaiter&) = delete;
    ~SleepAwaiter() { deregister(); }

    bool await_ready() const noexcept { return token_.isCancelled(); }
    void await_suspend(std::coroutine_handle<> sleeper);
    SleepResult await_resume() const noexcept {
        return token_.isCancelled() ? SleepResult::cancelled : SleepResult::elapsed;
    }

  private:
    void deregister() noexcept;
    void wake();

    MainActor& actor_;
    Duration interval_;
    CancellationToken token_;
    std::optional<std::uint64_t> timer_;
    std::coroutine_handle<> sleeper_;
};

class MainActor : public Clock {
  public:
    using Work = std::function<void()>;
    using TimerID = std::uint64_t;

    /// Runs the work in a later turn of the loop, after everything posted before it.
    virtual void post(Work work) = 0;
    /// Runs the work once the continuous clock has passed the interval. Equal times run in posting order.
    virtual TimerID postAfter(Duration interval, Work work) = 0;
    /// An unknown or elapsed timer is ignored.
    virtual void cancelTimer(TimerID timer) noexcept = 0;

    /// `co_await actor.sleep(50ms)`: the token, when given, ends the sleep early.
    SleepAwaiter sleep(Duration interval, CancellationToken token = {}) {
        return SleepAwaiter(*this, interval, std::move(token));
    }

    /// Runs one long blocking call without holding the main actor where the platform can, and yields its
    /// value. The call must touch nothing that is shared. What it throws is rethrown to the awaiter.
    template <class Call>
    Task<std::invoke_result_t<Call>> runBlocking(Call call);

  protected:
    /// Runs `work` off the main actor, or in a later turn where nothing may leave it; then `done` on the main
    /// actor.
    virtual void performBlocking(Work work, Work done) {
        post([work = std::move(work), done = std::move(done)] {
            work();
            done();
        });
    }

  private:
    /// Shared with the posted work, so that an awaiter that dies early is not resumed.
    template <class Value>
    struct BlockingCall {
        std::optional<Value> value;
        std::exception_ptr error;
        std::coroutine_handle<> awaiter;
    };
};

inline void SleepAwaiter::await_suspend(std::coroutine_handle<> sleeper) {
    sleeper_ = sleeper;
    timer_ = actor_.postAfter(interval_, [this] { wake(); });
    // A cancelled sleep ends in a turn of its own: the one who cancels never runs the sleeper's code.
    token_.setHandler([this] {
        if (timer_) actor_.cancelTimer(*timer_);
        timer_ = actor_.postAfter(Duration::zero(), [this] { wake(); });
    });
}

inline void SleepAwaiter::wake() {
    timer_.reset();
    token_.setHandler(nullptr);
    sleeper_.resume();
}

inline void SleepAwaiter::deregister() noexcept {
    if (!timer_) return;
    actor_.cancelTimer(*timer_);
    token_.setHandler(nullptr);
}

template <class Call>
Task<std::invoke_result_t<Call>> MainActor::runBlocking(Call call) {
    using Value = std::invoke_result_t<Call>;
    static_assert(!std::is_void_v<Value>, "a blocking call yields a value");

    struct Awaiter {
        MainActor& actor;
        Call& call;
        std::shared_ptr<BlockingCall<Value>> state = std::make_shared<BlockingCall<Value>>();

        ~Awaiter() { state->awaiter = nullptr; }
        bool await_ready() const noexcept { return false; }
        void await_suspend(std::coroutine_handle<> awaiter) {
            state->awaiter = awaiter;
            actor.performBlocking(
                [state = state, call = std::move(call)]() mutable {
                    try {
                        state->value.emplace(call());
                    } catch (...) {
                        state->error = std::current_exception();
                    }
                },
                [state = state] {
                    if (state->awaiter) state->awaiter.resume();
                });
        }
        Value await_resume() {
            if (state->error) std::rethrow_exception(state->error);
            return std::move(*state->value);
        }
    };
    Awaiter awaiter{*this, call};
    co_return co_await awaiter;
}

} // namespace velto
