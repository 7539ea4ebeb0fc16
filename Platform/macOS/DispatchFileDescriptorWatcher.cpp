#include "Platform/macOS/DispatchFileDescriptorWatcher.h"

#include <dispatch/dispatch.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <utility>

namespace velto {

class DispatchFileDescriptorWatcher::Copy {
  public:
    explicit Copy(int original) : original_(original), descriptor_(fcntl(original, F_DUPFD_CLOEXEC, 0)) {}
    Copy(const Copy&) = delete;
    Copy& operator=(const Copy&) = delete;
    ~Copy() {
        if (descriptor_ >= 0) close(descriptor_);
    }
    /// Where descriptors have run out the caller's will do: it is rarely closed just then.
    int descriptor() const noexcept { return descriptor_ >= 0 ? descriptor_ : original_; }

  private:
    int original_;
    int descriptor_;
};

class DispatchFileDescriptorWatcher::Source {
  public:
    Source(dispatch_source_type_t type, std::shared_ptr<const Copy> copy, std::function<void()> handler)
        : copy_(std::move(copy)), handler_(std::move(handler)),
          source_(dispatch_source_create(type, static_cast<std::uintptr_t>(copy_->descriptor()), 0,
                                         dispatch_get_main_queue())) {
        dispatch_set_context(source_, this);
        dispatch_source_set_event_handler_f(source_, [](void* context) {
            const std::function<void()> called = static_cast<Source*>(context)->handler_; // it may end itself
            called();
        });
        dispatch_source_set_cancel_handler_f(source_,
                                             [](void* context) { delete static_cast<Source*>(context); });
        dispatch_activate(source_);
    }
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    void setHandler(std::function<void()> handler) { handler_ = std::move(handler); }
    /// From its own queue: the handler is not called any more.
    void end() noexcept {
        dispatch_source_cancel(source_);
        dispatch_release(source_);
    }

  private:
    ~Source() = default;

    std::shared_ptr<const Copy> copy_;
    std::function<void()> handler_;
    dispatch_source_t source_;
};

DispatchFileDescriptorWatcher::~DispatchFileDescriptorWatcher() {
    while (!watches_.empty())
        unwatch(watches_.begin()->first);
}

void DispatchFileDescriptorWatcher::watchReadable(int descriptor, std::function<void()> handler) {
    Watch& watch = watchOf(descriptor);
    if (watch.readable) return watch.readable->setHandler(std::move(handler));
    watch.readable = new Source(DISPATCH_SOURCE_TYPE_READ, watch.copy, std::move(handler));
}

void DispatchFileDescriptorWatcher::watchWritable(int descriptor, std::function<void()> handler) {
    Watch& watch = watchOf(descriptor);
    auto once = [this, descriptor, handler = std::move(handler)] {
        std::exchange(watches_.at(descriptor).writable, nullptr)->end();
        handler();
    };
    if (watch.writable) return watch.writable->setHandler(std::move(once));
    watch.writable = new Source(DISPATCH_SOURCE_TYPE_WRITE, watch.copy, std::move(once));
}

void DispatchFileDescriptorWatcher::unwatch(int descriptor) noexcept {
    const auto found = watches_.find(descriptor);
    if (found == watches_.end()) return;
    for (Source* source : {found->second.readable, found->second.writable})
        if (source) source->end();
    watches_.erase(found);
}

DispatchFileDescriptorWatcher::Watch& DispatchFileDescriptorWatcher::watchOf(int descriptor) {
    Watch& watch = watches_[descriptor];
    if (!watch.copy) watch.copy = std::make_shared<Copy>(descriptor);
    return watch;
}

} // namespace velto
