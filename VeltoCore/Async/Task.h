// Task<T>: the one coroutine type of the core.
//
// Lazy (nothing runs until it is awaited), move-only, single-threaded. Started only by `co_await` or by
// TaskScope::spawn. Completion transfers straight to the awaiter, so a chain of any length uses no stack.
// Destroying a Task destroys its frame, and with it everything the frame was waiting for.
#pragma once

#include <coroutine>
#include <exception>
#include <utility>
#include <variant>

namespace velto {

template <class T>
class Task;

namespace detail {

class TaskPromiseBase {
  public:
    struct FinalAwaiter {
        bool await_ready() const noexcept { return false; }
        template <class Promise>
        std::coroutine_handle<> await_suspend(std::coroutine_handle<Promise> finished) noexcept {
            return finished.promise().continuation_;
        }
        void await_resume() const noexcept {}
    };

    std::suspend_always initial_suspend() const noexcept { return {}; }
    FinalAwaiter final_suspend() const noexcept { return {}; }
    void setContinuation(std::coroutine_handle<> continuation) noexcept { continuation_ = continuation; }

  private:
    std::coroutine_handle<> continuation_ = std::noop_coroutine();
};

template <class T>
class TaskPromise final : public TaskPromiseBase {
  public:
    Task<T> get_return_object() noexcept;
    void return_value(T value) { result_.template emplace<1>(std::move(value)); }
    void unhandled_exception() noexcept { result_.template emplace<2>(std::current_exception()); }
    T takeResult() {
        if (result_.index() == 2) std::rethrow_exception(std::get<2>(result_));
        return std::move(std::get<1>(result_));
    }

  private:
    std::variant<std::monostate, T, std::exception_ptr> result_;
};

template <>
class TaskPromise<void> final : public TaskPromiseBase {
  public:
    Task<void> get_return_object() noexcept;
    void return_void() const noexcept {}
    void unhandled_exception() noexcept { error_ = std::current_exception(); }
    void takeResult() const {
        if (error_) std::rethrow_exception(error_);
    }

  private:
    std::exception_ptr error_;
};

} // namespace detail

template <class T = void>
class [[nodiscard]] Task {
  public:
    using promise_type = detail::TaskPromise<T>;
    using Handle = std::coroutine_handle<promise_type>;

    explicit Task(Handle handle) noexcept : handle_(handle) {}
    Task(Task&& other) noexcept : handle_(std::exchange(other.handle_, {})) {}
    Task& operator=(Task&& other) noexcept {
        if (this != &other) {
            if (handle_) handle_.destroy();
            handle_ = std::exchange(other.handle_, {});
        }
        return *this;
    }
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;
    ~Task() {
        if (handle_) handle_.destroy();
    }

    /// Starts the task and yields its value, or rethrows what it threw. A task is awaited once.
    auto operator co_await() && noexcept {
        struct Awaiter {
            Handle handle;
            bool await_ready() const noexcept { return false; }
            std::coroutine_handle<> await_suspend(std::coroutine_handle<> caller) noexcept {
                handle.promise().setContinuation(caller);
                return handle;
            }
            T await_resume() { return handle.promise().takeResult(); }
        };
        return Awaiter{handle_};
    }

  private:
    Handle handle_;
};

template <class T>
Task<T> detail::TaskPromise<T>::get_return_object() noexcept {
    return Task<T>(std::coroutine_handle<TaskPromise<T>>::from_promise(*this));
}

inline Task<void> detail::TaskPromise<void>::get_return_object() noexcept {
    return Task<void>(std::coroutine_handle<TaskPromise<void>>::from_promise(*this));
}

} // namespace velto
