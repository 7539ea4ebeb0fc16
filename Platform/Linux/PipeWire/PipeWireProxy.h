// PipeWireProxy: owns one proxy of a server object together with the hook that listens to it.
#pragma once

#include <pipewire/pipewire.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace velto {

/// Properties of a server object, as the program's texts (PipeWireText).
using PipeWireProperties = std::map<std::string, std::string, std::less<>>;

/// Takes over the entries of a dictionary, replacing those of equal keys. Null is an empty one.
void mergeProperties(PipeWireProperties& into, const spa_dict* dictionary);
/// None for a missing property; an empty text counts as missing.
std::optional<std::string_view> property(const PipeWireProperties& properties, std::string_view key);
/// None unless the property is a whole decimal number in range.
std::optional<uint32_t> numberProperty(const PipeWireProperties& properties, std::string_view key);

class PipeWireProxy {
  public:
    PipeWireProxy(pw_registry* registry, uint32_t globalID, const char* type, uint32_t version)
        : proxy_(static_cast<pw_proxy*>(pw_registry_bind(registry, globalID, type, version, 0))) {}
    PipeWireProxy(const PipeWireProxy&) = delete;
    PipeWireProxy& operator=(const PipeWireProxy&) = delete;
    ~PipeWireProxy() {
        if (!proxy_) return;
        if (isListening_) spa_hook_remove(&hook_);
        pw_proxy_destroy(proxy_);
    }

    /// Null when the object could not be bound.
    template <class Interface>
    Interface* as() const noexcept {
        return reinterpret_cast<Interface*>(proxy_);
    }
    /// Adds the events of the object's own interface.
    void listen(const void* events, void* data) {
        if (!proxy_) return;
        pw_proxy_add_object_listener(proxy_, &hook_, events, data);
        isListening_ = true;
    }

  private:
    pw_proxy* proxy_;
    spa_hook hook_{};
    bool isListening_ = false;
};

} // namespace velto
