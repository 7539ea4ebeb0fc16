#include "Platform/Linux/PipeWire/PipeWireRequest.h"

#include <utility>

namespace velto {

struct PipeWireRequest::Events {
    static void removed(void* data) { static_cast<PipeWireRequest*>(data)->isOver_ = true; }
    static void error(void* data, int, int, const char* message) {
        auto& request = *static_cast<PipeWireRequest*>(data);
        request.isOver_ = true;
        request.refusal_ = message ? message : "unknown error";
        if (request.refused_) request.refused_();
    }
    static constexpr pw_proxy_events proxy = [] {
        pw_proxy_events table{};
        table.version = PW_VERSION_PROXY_EVENTS;
        table.removed = removed;
        table.error = error;
        return table;
    }();
};

PipeWireRequest::PipeWireRequest(pw_core* core, const char* factory, const char* type, uint32_t version,
                                 pw_properties* properties, std::function<void()> refused)
    : refused_(std::move(refused)) {
    proxy_ =
        static_cast<pw_proxy*>(pw_core_create_object(core, factory, type, version, &properties->dict, 0));
    pw_properties_free(properties);
    if (proxy_) pw_proxy_add_listener(proxy_, &hook_, &Events::proxy, this);
    isOver_ = !proxy_;
}

PipeWireRequest::~PipeWireRequest() {
    if (!proxy_) return;
    spa_hook_remove(&hook_);
    pw_proxy_destroy(proxy_);
}

} // namespace velto
