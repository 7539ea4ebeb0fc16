#include "VeltoCore/Async/Backoff.h"

#include <algorithm>
#include <utility>

namespace velto {

Backoff::Backoff(MainActor& actor, Pauses pauses, std::function<void()> ask)
    : actor_(actor), pauses_(pauses), ask_(std::move(ask)), nextPause_(pauseBeforeAll()) {}

Duration Backoff::pauseBeforeAll() const noexcept {
    return pauses_.isAtOnceFirst ? Duration::zero() : pauses_.first;
}

void Backoff::askLater() {
    isUnsettled_ = true;
    if (pending_ || (pauses_.endsAfterLongest && nextPause_ > pauses_.longest)) return;
    const Duration pause = std::min(nextPause_, pauses_.longest);
    nextPause_ = std::max(pause * 2, pauses_.first);
    pending_ = {actor_.postAfter(pause, [this] { askNow(); }), actor_.continuousNow() + pause};
}

void Backoff::askIfDue() {
    if (!pending_ || actor_.continuousNow() < pending_->due) return;
    actor_.cancelTimer(pending_->timer);
    askNow();
}

void Backoff::askNow() {
    pending_.reset();
    ask_();
}

void Backoff::reset() {
    if (pending_) actor_.cancelTimer(std::exchange(pending_, std::nullopt)->timer);
    nextPause_ = pauseBeforeAll();
    isUnsettled_ = false;
}

} // namespace velto
