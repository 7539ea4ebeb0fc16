// ChangeAnnouncer: tells those who show a view model that something in it may have changed.
//
// Part of a view model; main actor only. However much changes in one turn of the main loop, observers are
// called once, in a later turn, and read again what they show. While nothing changes, or nobody observes, it
// does nothing at all.
#pragma once

#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Observation/Lifetime.h"
#include "VeltoCore/Observation/Observable.h"

#include <functional>
#include <utility>
#include <vector>

namespace velto {

class ChangeAnnouncer {
  public:
    explicit ChangeAnnouncer(MainActor& actor) : actor_(actor) {}
    ChangeAnnouncer(const ChangeAnnouncer&) = delete;
    ChangeAnnouncer& operator=(const ChangeAnnouncer&) = delete;

    Subscription observe(std::function<void()> handler) { return observers_.observe(std::move(handler)); }
    /// Something has changed.
    void announce();
    /// For a source of changes: announces whenever it is called. Only as long as the announcer lives.
    std::function<void()> handler() {
        return [this] { announce(); };
    }
    /// Keeps the registration with a source of changes.
    void keep(Subscription subscription) { subscriptions_.push_back(std::move(subscription)); }
    /// Changes a field; announces when it differs.
    template <class T>
    bool set(T& field, T value) {
        if (field == value) return false;
        field = std::move(value);
        announce();
        return true;
    }

  private:
    MainActor& actor_;
    ObserverList observers_;
    bool isPending_ = false;
    Lifetime lifetime_;
    std::vector<Subscription> subscriptions_;
};

} // namespace velto
