// TaskScope: where tasks are started and who owns them.
//
// A component that starts work from a synchronous handler holds a scope; when the component goes, so do its
// suspended tasks, in reverse order of starting. What a task throws is logged: nobody is there to catch it.
#pragma once

#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Async/Task.h"

#include <cstddef>
#include <memory>

namespace velto {

class TaskScope {
  public:
    explicit TaskScope(MainActor& actor);
    TaskScope(const TaskScope&) = delete;
    TaskScope& operator=(const TaskScope&) = delete;
    ~TaskScope();

    /// Starts the task in the next turn of the main loop, after those spawned before it.
    void spawn(Task<void> task);
    /// Tasks spawned and not yet finished.
    std::size_t count() const noexcept;

  private:
    struct State;
    MainActor& actor_;
    std::shared_ptr<State> state_;
};

} // namespace velto
