#include "Platform/macOS/DispatchTerminationSignals.h"

#include <dispatch/dispatch.h>

#include <signal.h>

#include <cstddef>
#include <cstdint>
#include <utility>

namespace velto {

namespace {

constexpr std::array signals{SIGTERM, SIGINT, SIGHUP};

} // namespace

DispatchTerminationSignals::DispatchTerminationSignals(std::function<void()> handler)
    : handler_(std::move(handler)) {
    for (std::size_t i = 0; i < signals.size(); ++i) {
        signal(signals[i], SIG_IGN); // else it would end the program before the source hears of it
        dispatch_source_t source =
            dispatch_source_create(DISPATCH_SOURCE_TYPE_SIGNAL, static_cast<std::uintptr_t>(signals[i]), 0,
                                   dispatch_get_main_queue());
        dispatch_set_context(source, this);
        dispatch_source_set_event_handler_f(
            source, [](void* context) { static_cast<DispatchTerminationSignals*>(context)->handler_(); });
        dispatch_activate(source);
        sources_[i] = source;
    }
}

DispatchTerminationSignals::~DispatchTerminationSignals() {
    for (void* source : sources_) {
        dispatch_source_cancel(static_cast<dispatch_source_t>(source));
        dispatch_release(static_cast<dispatch_source_t>(source));
    }
}

} // namespace velto
