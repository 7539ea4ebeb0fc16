// A cancellation token for sleeps. A source cancels once; tokens hear it at once, or at their next
// registration.
//
// Single-threaded. A token made by default is never cancelled.
#pragma once

#include <functional>
#include <memory>
#include <utility>

namespace velto {

class CancellationToken {
  public:
    CancellationToken() = default;
    bool isCancelled() const noexcept { return state_ && state_->cancelled; }

  private:
    friend class CancellationSource;
    friend class SleepAwaiter;
    struct State {
        bool cancelled = false;
        std::function<void()> onCancel;
    };
    explicit CancellationToken(std::shared_ptr<State> state) : state_(std::move(state)) {}
    /// At most one sleep waits on a token at a time; null removes the handler.
    void setHandler(std::function<void()> handler) const {
        if (state_) state_->onCancel = std::move(handler);
    }

    std::shared_ptr<State> state_;
};

class CancellationSource {
  public:
    CancellationToken token() const { return CancellationToken(state_); }
    void cancel() {
        if (std::exchange(state_->cancelled, true)) return;
        if (auto handler = std::exchange(state_->onCancel, nullptr)) handler();
    }

  private:
    std::shared_ptr<CancellationToken::State> state_ = std::make_shared<CancellationToken::State>();
};

} // namespace velto
