#include "Platform/Linux/Delay/ServerListing.h"

#include <cstdlib>
#include <string_view>
#include <utility>

namespace velto {

namespace {

std::string_view value(const spa_dict& properties, const char* key) {
    const char* text = spa_dict_lookup(&properties, key);
    return text ? text : "";
}

} // namespace

struct ServerListing::Events {
    static constexpr pw_core_events core = [] {
        pw_core_events table{};
        table.version = PW_VERSION_CORE_EVENTS;
        table.done = [](void* data, uint32_t id, int sequence) {
            auto& listing = *static_cast<ServerListing*>(data);
            if (id == PW_ID_CORE && sequence == listing.question_) listing.end();
        };
        return table;
    }();
    static constexpr pw_registry_events registry = [] {
        pw_registry_events table{};
        table.version = PW_VERSION_REGISTRY_EVENTS;
        table.global = [](void* data, uint32_t id, uint32_t, const char* type, uint32_t,
                          const spa_dict* properties) {
            if (properties) static_cast<ServerListing*>(data)->add(id, type, *properties);
        };
        return table;
    }();
};

ServerListing::ServerListing(pw_core* core, Whole whole)
    : whole_(std::move(whole)), core_(core), registry_(pw_core_get_registry(core, PW_VERSION_REGISTRY, 0)) {
    pw_core_add_listener(core_, &coreHook_, &Events::core, this);
    pw_registry_add_listener(registry_, &registryHook_, &Events::registry, this);
    question_ = pw_core_sync(core_, PW_ID_CORE, 0);
}

ServerListing::~ServerListing() {
    if (!registry_) return;
    spa_hook_remove(&coreHook_);
    pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry_));
}

void ServerListing::add(uint32_t globalID, const char* type, const spa_dict& properties) {
    if (std::string_view(type) == PW_TYPE_INTERFACE_Node)
        nodes_.emplace(value(properties, PW_KEY_NODE_NAME), globalID);
    const bool isInput = std::string_view(type) == PW_TYPE_INTERFACE_Port &&
                         value(properties, PW_KEY_PORT_DIRECTION) == "in" &&
                         value(properties, PW_KEY_FORMAT_DSP).ends_with("audio");
    if (!isInput) return;
    const auto node = static_cast<uint32_t>(std::atol(value(properties, PW_KEY_NODE_ID).data()));
    inputPorts_.emplace(node, value(properties, PW_KEY_PORT_NAME));
}

void ServerListing::end() {
    whole_(*this);
    spa_hook_remove(&coreHook_);
    pw_proxy_destroy(reinterpret_cast<pw_proxy*>(std::exchange(registry_, nullptr)));
}

std::string ServerListing::inputPort(const std::string& node) const {
    const auto [first, last] = nodes_.equal_range(node);
    for (auto entry = first; entry != last; ++entry)
        if (const auto port = inputPorts_.find(entry->second); port != inputPorts_.end()) return port->second;
    return {};
}

pw_proxy* ServerListing::bind(const std::string& node) const {
    const auto found = nodes_.find(node);
    if (found == nodes_.end()) return nullptr;
    return static_cast<pw_proxy*>(
        pw_registry_bind(registry_, found->second, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE, 0));
}

} // namespace velto
