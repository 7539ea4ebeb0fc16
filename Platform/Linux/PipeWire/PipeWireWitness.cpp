#include "Platform/Linux/PipeWire/PipeWireWitness.h"

#include "Platform/Linux/Delay/RemoteServer.h"
#include "Platform/Linux/PipeWire/PipeWireProxy.h"

#include <string_view>
#include <utility>

namespace velto {

struct PipeWireWitness::Events {
    static void global(void* data, uint32_t id, uint32_t, const char* type, uint32_t,
                       const spa_dict* dictionary) {
        auto& self = *static_cast<PipeWireWitness*>(data);
        if (type != std::string_view(PW_TYPE_INTERFACE_Metadata)) return;
        PipeWireProperties properties;
        mergeProperties(properties, dictionary);
        if (property(properties, "metadata.name") == "default")
            self.store_ = std::make_unique<PipeWireMetadata>(self.registry_, id, [] {});
    }
    static void done(void* data, uint32_t id, int sequence) {
        auto& self = *static_cast<PipeWireWitness*>(data);
        if (id == PW_ID_CORE && sequence == self.question_) self.proceed();
    }
    static constexpr pw_registry_events registry = [] {
        pw_registry_events table{};
        table.version = PW_VERSION_REGISTRY_EVENTS;
        table.global = global;
        return table;
    }();
    static constexpr pw_core_events core = [] {
        pw_core_events table{};
        table.version = PW_VERSION_CORE_EVENTS;
        table.done = done;
        return table;
    }();
};

PipeWireWitness::PipeWireWitness(pw_context* context, const std::string& remote,
                                 std::function<void()> answered)
    : answered_(std::move(answered)) {
    core_ = connectTo(remote, context);
    if (!core_) return;
    pw_core_add_listener(core_, &coreHook_, &Events::core, this);
    registry_ = pw_core_get_registry(core_, PW_VERSION_REGISTRY, 0);
    pw_registry_add_listener(registry_, &registryHook_, &Events::registry, this);
    ask();
}

PipeWireWitness::~PipeWireWitness() {
    if (!core_) return;
    store_.reset();
    spa_hook_remove(&registryHook_);
    spa_hook_remove(&coreHook_);
    pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry_));
    pw_core_disconnect(core_);
}

void PipeWireWitness::proceed() {
    switch (step_) {
    case Step::nothing: // the store, if there is one, has been asked for
        step_ = Step::listed;
        return ask();
    case Step::listed:
        step_ = Step::watched;
        // Once more: what others have asked before has been answered by then, too.
        return ask();
    case Step::watched:
        if (answered_) std::exchange(answered_, nullptr)();
    }
}

} // namespace velto
