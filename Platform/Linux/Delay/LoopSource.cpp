#include "Platform/Linux/Delay/LoopSource.h"

#include <cstdint>
#include <ctime>
#include <utility>

// The library's macros compare their versions with a plain 0.
#pragma GCC diagnostic ignored "-Wsign-compare"

namespace velto {

namespace {

void doWork(void* data) {
    const LoopSource::Work work = *static_cast<LoopSource::Work*>(data); // its source may go meanwhile
    work();
}

} // namespace

LoopSource::LoopSource(pw_loop* loop, Kind kind, Work work, int number)
    : loop_(loop), work_(std::move(work)) {
    const auto counted = [](void* data, std::uint64_t) { doWork(data); };
    switch (kind) {
    case Kind::event:
        source_ = pw_loop_add_event(loop_, counted, &work_);
        break;
    case Kind::timer:
        source_ = pw_loop_add_timer(loop_, counted, &work_);
        break;
    case Kind::readable:
        source_ = pw_loop_add_io(
            loop_, number, SPA_IO_IN | SPA_IO_HUP, false, [](void* data, int, uint32_t) { doWork(data); },
            &work_);
        break;
    case Kind::signal:
        source_ = pw_loop_add_signal(
            loop_, number, [](void* data, int) { doWork(data); }, &work_);
        break;
    }
}

LoopSource::~LoopSource() {
    if (source_) pw_loop_destroy_source(loop_, source_);
}

void LoopSource::signal() noexcept { pw_loop_signal_event(loop_, source_); }

void LoopSource::setInterval(std::chrono::nanoseconds interval) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(interval);
    timespec time{seconds.count(), (interval - seconds).count()};
    pw_loop_update_timer(loop_, source_, &time, &time, false);
}

} // namespace velto
