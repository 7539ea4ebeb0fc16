// Observable values: who changes one tells those who watch it, without payload; they read it again.
//
// Main actor only. Handlers may add, remove and set while being notified: each notification works on the
// handlers registered at its start and looks each one up again before the call.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace velto {

/// A registration of one handler. Dropping it ends the registration; it may outlive what it watches.
class [[nodiscard]] Subscription {
  public:
    Subscription() = default;
    explicit Subscription(std::function<void()> end) : end_(std::move(end)) {}
    Subscription(Subscription&& other) noexcept : end_(std::exchange(other.end_, nullptr)) {}
    Subscription& operator=(Subscription&& other) noexcept {
        if (this != &other) {
            reset();
            end_ = std::exchange(other.end_, nullptr);
        }
        return *this;
    }
    ~Subscription() { reset(); }
    void reset() {
        if (auto end = std::exchange(end_, nullptr)) end();
    }

  private:
    std::function<void()> end_;
};

/// The handlers of one observable object, called in the order in which they came.
class ObserverList {
  public:
    using Handler = std::function<void()>;

    ObserverList() = default;
    ObserverList(const ObserverList&) = delete; // copies would share the handlers
    ObserverList& operator=(const ObserverList&) = delete;

    Subscription observe(Handler handler) {
        const std::uint64_t id = nextID_++;
        handlers_->emplace(id, std::move(handler));
        return Subscription([weak = std::weak_ptr(handlers_), id] {
            if (const auto handlers = weak.lock()) handlers->erase(id);
        });
    }
    bool isEmpty() const noexcept { return handlers_->empty(); }
    void notify() const {
        const auto handlers = handlers_; // a handler may end the observed object
        std::vector<std::uint64_t> ids;
        ids.reserve(handlers->size());
        for (const auto& entry : *handlers)
            ids.push_back(entry.first);
        for (const std::uint64_t id : ids) {
            const auto found = handlers->find(id);
            if (found == handlers->end()) continue;
            const Handler handler = found->second; // it may remove itself while it runs
            handler();
        }
    }

  private:
    std::shared_ptr<std::map<std::uint64_t, Handler>> handlers_ =
        std::make_shared<std::map<std::uint64_t, Handler>>();
    std::uint64_t nextID_ = 0;
};

/// A value that notifies when it really changes.
template <class T>
class Observable {
  public:
    Observable() = default;
    explicit Observable(T value) : value_(std::move(value)) {}

    const T& value() const noexcept { return value_; }
    /// Stores the value; notifies, and answers true, only when it differs from the old one.
    bool set(T value) {
        const bool isChanged = store(std::move(value));
        if (isChanged) notify(); // a handler may end this object
        return isChanged;
    }
    /// Stores the value, and answers whether it differs. To notify() then is for the caller, who has other
    /// values that belong to this one.
    bool store(T value) {
        if (value_ == value) return false;
        value_ = std::move(value);
        return true;
    }
    void notify() const { observers_.notify(); }
    Subscription observe(std::function<void()> handler) { return observers_.observe(std::move(handler)); }

  private:
    T value_{};
    ObserverList observers_;
};

} // namespace velto
