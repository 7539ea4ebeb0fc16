#include "Platform/Linux/Delay/Heartbeat.h"

#include "Platform/Linux/Delay/DelayNames.h"

#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <utility>

namespace velto {

namespace {

constexpr std::chrono::milliseconds interval{100};

} // namespace

Heartbeat::Heartbeat(pw_loop* loop, int descriptor, std::function<void()> eachBeat)
    : descriptor_(descriptor), eachBeat_(std::move(eachBeat)),
      timer_(loop, LoopSource::Kind::timer, [this] { turn(); }) {}

void Heartbeat::setBeating(bool isBeating) {
    isBeating_ = isBeating;
    timer_.setInterval(interval);
    turn();
}

void Heartbeat::turn() {
    if (isBeating_) eachBeat_();
    const bool isSaid = say(isBeating_ ? DelayNames::beat : DelayNames::rest);
    if (!isBeating_ && isSaid) timer_.setInterval({});
}

/// False where it could be said later.
bool Heartbeat::say(std::string_view word) {
    pollfd listener{descriptor_, POLLOUT, 0};
    if (poll(&listener, 1, 0) == 0) return false;
    const std::string line = std::string(word) + "\n";
    // Where nobody listens any more it is said for good.
    [[maybe_unused]] const ssize_t written = write(descriptor_, line.data(), line.size());
    return true;
}

} // namespace velto
