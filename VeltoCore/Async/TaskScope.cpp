#include "VeltoCore/Async/TaskScope.h"

#include "VeltoCore/Services/LoggingService.h"

#include <cstdint>
#include <exception>
#include <map>
#include <utility>

namespace velto {

namespace {

/// The frame at the bottom of a spawned chain. It owns the task; its last act is to leave the scope, which
/// destroys it: so it never resumes anybody and never ends by itself.
class Root {
  public:
    struct promise_type {
        Root get_return_object() noexcept {
            return Root(std::coroutine_handle<promise_type>::from_promise(*this));
        }
        std::suspend_always initial_suspend() const noexcept { return {}; }
        std::suspend_always final_suspend() const noexcept { return {}; }
        void return_void() const noexcept {}
        void unhandled_exception() const noexcept { std::terminate(); } // the body catches everything
    };
    explicit Root(std::coroutine_handle<promise_type> handle) noexcept : handle_(handle) {}
    Root(Root&& other) noexcept : handle_(std::exchange(other.handle_, {})) {}
    Root& operator=(Root&&) = delete;
    ~Root() {
        if (handle_) handle_.destroy();
    }
    void resume() const { handle_.resume(); }

  private:
    std::coroutine_handle<promise_type> handle_;
};

} // namespace

struct TaskScope::State : std::enable_shared_from_this<TaskScope::State> {
    // Ordered by the number of the start, so that teardown can go backwards.
    std::map<std::uint64_t, Root> running;
    std::uint64_t nextID = 0;

    static Root run(Task<void> task, State& state, MainActor& actor, std::uint64_t id) {
        try {
            co_await std::move(task);
        } catch (const std::exception& error) {
            LoggingService::lifecycle.fault("A task ended with an error: {}", error.what());
        } catch (...) {
            LoggingService::lifecycle.fault("A task ended with an unknown error");
        }
        // A frame can't free itself while it runs: a later turn does.
        actor.post([weak = state.weak_from_this(), id] {
            if (auto state = weak.lock()) state->running.erase(id);
        });
    }
};

TaskScope::TaskScope(MainActor& actor) : actor_(actor), state_(std::make_shared<State>()) {}

TaskScope::~TaskScope() {
    while (!state_->running.empty()) {
        auto last = state_->running.extract(std::prev(state_->running.end()));
    }
}

void TaskScope::spawn(Task<void> task) {
    const std::uint64_t id = state_->nextID++;
    state_->running.emplace(id, State::run(std::move(task), *state_, actor_, id));
    actor_.post([weak = std::weak_ptr(state_), id] {
        auto state = weak.lock();
        if (!state) return;
        if (auto root = state->running.find(id); root != state->running.end()) root->second.resume();
    });
}

std::size_t TaskScope::count() const noexcept { return state_->running.size(); }

} // namespace velto
