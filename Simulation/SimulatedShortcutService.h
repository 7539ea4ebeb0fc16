// SimulatedShortcutService: a desktop with global shortcuts, which gives or refuses them at will.
#pragma once

#include "VeltoCore/Services/GlobalShortcutService.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velto {

class SimulatedShortcutService final : public GlobalShortcutService {
  public:
    State state() const override { return state_; }
    const std::vector<Shortcut>& shortcuts() const override { return shortcuts_; }
    Subscription observe(std::function<void()> handler) override {
        return observers_.observe(std::move(handler));
    }
    void inquire() override {
        if (state_ == State::unknown) become(answer == State::unavailable ? answer : State::available, {});
    }
    void bind(std::vector<Shortcut> shortcuts, std::function<void(std::string_view id)> pressed) override {
        pressed_ = answer == State::bound ? std::move(pressed) : nullptr;
        become(answer, answer == State::bound ? std::move(shortcuts) : std::vector<Shortcut>());
    }
    void unbind() override {
        pressed_ = {};
        if (state_ == State::bound) become(State::available, {});
    }

    // Verbs

    void press(std::string_view id) {
        if (pressed_) pressed_(id);
    }
    void assignKeys(std::size_t index, std::string keys) {
        auto shortcuts = shortcuts_;
        shortcuts.at(index).keys = std::move(keys);
        become(State::bound, std::move(shortcuts));
    }

    /// What it makes of the next ones.
    State answer = State::bound;

  private:
    void become(State state, std::vector<Shortcut> shortcuts) {
        state_ = state;
        shortcuts_ = std::move(shortcuts);
        observers_.notify();
    }

    State state_ = State::unknown;
    std::vector<Shortcut> shortcuts_;
    std::function<void(std::string_view id)> pressed_;
    ObserverList observers_;
};

} // namespace velto
