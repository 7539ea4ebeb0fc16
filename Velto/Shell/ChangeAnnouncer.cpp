#include "Velto/Shell/ChangeAnnouncer.h"

namespace velto {

Subscription ChangeAnnouncer::observe(std::function<void()> handler) {
    const std::uint64_t id = core_->nextID++;
    core_->handlers.add(id, std::move(handler));
    return Subscription([weak = std::weak_ptr(core_), id] {
        if (const auto core = weak.lock()) core->handlers.remove(id);
    });
}

void ChangeAnnouncer::announce() {
    if (core_->isPending || core_->handlers.size() == 0) return;
    core_->isPending = true;
    actor_.post([weak = std::weak_ptr(core_)] {
        const auto core = weak.lock(); // a handler may end the announcer
        if (!core) return;
        core->isPending = false; // what handlers change is announced again
        core->handlers.notify();
    });
}

} // namespace velto
