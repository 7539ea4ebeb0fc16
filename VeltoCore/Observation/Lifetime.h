// Lifetime: lets those who may outlast an object find out that it has gone.
//
// A member of the object; main actor only. It keeps nothing alive.
#pragma once

#include <memory>
#include <utility>

namespace velto {

class Lifetime {
  public:
    class Watch {
      public:
        bool isOver() const noexcept { return token_.expired(); }

      private:
        friend Lifetime;
        explicit Watch(const std::shared_ptr<char>& token) : token_(token) {}
        std::weak_ptr<char> token_;
    };

    Lifetime() = default;
    Lifetime(const Lifetime&) = delete; // copies would live on
    Lifetime& operator=(const Lifetime&) = delete;

    Watch watch() const { return Watch(token_); }
    /// A handler to give away: the action as long as the object lives, nothing after.
    template <class Action>
    auto whileAlive(Action action) const {
        return [watch = watch(), action = std::move(action)](auto... arguments) {
            if (!watch.isOver()) action(std::move(arguments)...);
        };
    }

  private:
    std::shared_ptr<char> token_ = std::make_shared<char>();
};

} // namespace velto
