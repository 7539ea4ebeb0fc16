// Started: a task that a test has begun, and how it ended.
#pragma once

#include "VeltoCore/Async/Task.h"
#include "VeltoCore/Async/TaskScope.h"
#include "VeltoCore/CoreAudio/AudioManagerError.h"

#include <exception>
#include <memory>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <variant>

namespace velto {

inline void PrintTo(const AudioManagerError& error, std::ostream* stream) { *stream << error.what(); }

template <class T>
class Started {
  public:
    Started(TaskScope& scope, Task<T> task) { scope.spawn(run(std::move(task), state_)); }

    bool isDone() const noexcept { return state_->isDone; }
    /// What the task yielded, or throws what it threw.
    T value() const {
        if (!state_->isDone) throw std::logic_error("The task has not ended");
        if (state_->error) std::rethrow_exception(state_->error);
        if constexpr (!std::is_void_v<T>) return *state_->value;
    }
    /// What the task threw; none when it ended well.
    std::optional<AudioManagerError> error() const {
        try {
            static_cast<void>(value());
            return std::nullopt;
        } catch (const AudioManagerError& error) {
            return error;
        }
    }

  private:
    using Value = std::conditional_t<std::is_void_v<T>, std::monostate, T>;
    struct State {
        std::optional<Value> value;
        std::exception_ptr error;
        bool isDone = false;
    };

    static Task<void> run(Task<T> task, std::shared_ptr<State> state) {
        try {
            if constexpr (std::is_void_v<T>) {
                co_await std::move(task);
            } else {
                state->value = co_await std::move(task);
            }
        } catch (...) {
            state->error = std::current_exception();
        }
        state->isDone = true;
    }

    std::shared_ptr<State> state_ = std::make_shared<State>();
};

} // namespace velto
