// PipeWirePort: one port of a node, mirrored.
#pragma once

#include "Platform/Linux/PipeWire/PipeWireProxy.h"

#include <spa/param/latency-utils.h>

#include <functional>
#include <memory>
#include <string>

namespace velto {

class PipeWirePort {
  public:
    PipeWirePort(uint32_t globalID, const PipeWireProperties& properties);

    uint32_t globalID() const noexcept { return globalID_; }
    uint32_t nodeID() const noexcept { return nodeID_; }
    /// Its number among the node's ports of its direction.
    uint32_t index() const noexcept { return index_; }
    bool isInput() const noexcept { return isInput_; }
    bool isMonitor() const noexcept { return isMonitor_; }
    /// Whether the port carries sound (and not, say, MIDI).
    bool isAudio() const noexcept { return isAudio_; }
    /// The channel's name, such as "FL"; empty when the port has none.
    const std::string& channel() const noexcept { return channel_; }

    /// Its own name within its node.
    const std::string& name() const noexcept { return name_; }
    /// What the server finds it by within its node: the node's display name and the port's own.
    const std::string& alias() const noexcept { return alias_; }

    /// Mirrors the latency of a device's playback port. Calls `changed` from within server callbacks.
    void watchLatency(pw_registry* registry, std::function<void()> changed);
    /// From this port to the listener's ear, as far as the server knows; all zero until it says.
    const spa_latency_info& latency() const noexcept { return latency_; }

  private:
    struct Events;

    uint32_t globalID_;
    uint32_t nodeID_ = SPA_ID_INVALID;
    uint32_t index_ = 0;
    bool isInput_ = false;
    bool isMonitor_ = false;
    bool isAudio_ = false;
    std::string channel_;
    std::string name_;
    std::string alias_;
    std::unique_ptr<PipeWireProxy> proxy_;
    spa_latency_info latency_{};
    std::function<void()> changed_;
};

} // namespace velto
