#include "Platform/Linux/PipeWire/PipeWirePort.h"

#include "Platform/Linux/PipeWire/PipeWireProps.h"

#include <spa/param/param.h>

#include <utility>

namespace velto {

struct PipeWirePort::Events {
    static void param(void* data, int, uint32_t id, uint32_t, uint32_t, const spa_pod* pod) {
        auto& self = *static_cast<PipeWirePort*>(data);
        const auto latency = id == SPA_PARAM_Latency && pod ? readPlaybackLatency(pod) : std::nullopt;
        if (!latency) return;
        self.latency_ = *latency;
        self.changed_();
    }
    static constexpr pw_port_events table{PW_VERSION_PORT_EVENTS, nullptr, param};
};

PipeWirePort::PipeWirePort(uint32_t globalID, const PipeWireProperties& properties)
    : globalID_(globalID), nodeID_(numberProperty(properties, PW_KEY_NODE_ID).value_or(SPA_ID_INVALID)),
      index_(numberProperty(properties, PW_KEY_PORT_ID).value_or(0)),
      isInput_(property(properties, PW_KEY_PORT_DIRECTION) == "in"),
      isMonitor_(property(properties, PW_KEY_PORT_MONITOR) == "true"),
      isAudio_(property(properties, PW_KEY_FORMAT_DSP).value_or("").find("audio") != std::string_view::npos),
      channel_(property(properties, PW_KEY_AUDIO_CHANNEL).value_or("")),
      name_(property(properties, PW_KEY_PORT_NAME).value_or("")),
      alias_(property(properties, PW_KEY_PORT_ALIAS).value_or("")) {}

void PipeWirePort::watchLatency(pw_registry* registry, std::function<void()> changed) {
    changed_ = std::move(changed);
    proxy_ = std::make_unique<PipeWireProxy>(registry, globalID_, PW_TYPE_INTERFACE_Port, PW_VERSION_PORT);
    proxy_->listen(&Events::table, this);
    uint32_t watched = SPA_PARAM_Latency;
    if (auto* port = proxy_->as<pw_port>()) pw_port_subscribe_params(port, &watched, 1);
}

} // namespace velto
