#include "Platform/Linux/Delay/Watchdog.h"

#include <fcntl.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>

namespace velto {

Watchdog Watchdog::create() {
    const int timer = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK);
    // In none of the places that a program is started with: one is moved there over another.
    const int moved = timer < 0 ? -1 : fcntl(timer, F_DUPFD_CLOEXEC, inheritedDescriptor + 1);
    const int error = errno;
    if (timer >= 0) close(timer);
    if (moved < 0)
        throw std::runtime_error(std::string("A timer could not be made: ") + std::strerror(error));
    return Watchdog(moved);
}

Watchdog Watchdog::inherited() noexcept {
    itimerspec left{};
    const bool isTimer = timerfd_gettime(inheritedDescriptor, &left) == 0;
    return Watchdog(isTimer ? inheritedDescriptor : -1);
}

Watchdog::Watchdog(Watchdog&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}

Watchdog::~Watchdog() {
    if (descriptor_ >= 0) close(descriptor_);
}

void Watchdog::putOff(std::chrono::nanoseconds time) const noexcept {
    if (descriptor_ < 0) return;
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
    const itimerspec once{{}, {seconds.count(), (time - seconds).count()}};
    timerfd_settime(descriptor_, 0, &once, nullptr);
}

bool Watchdog::takeExpiry() const noexcept {
    std::uint64_t times = 0;
    return read(descriptor_, &times, sizeof times) == sizeof times;
}

} // namespace velto
