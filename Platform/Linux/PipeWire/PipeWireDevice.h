// PipeWireDevice: a card of the server, mirrored: its properties and the routes that carry its volumes.
#pragma once

#include "Platform/Linux/PipeWire/PipeWireProxy.h"

#include <functional>
#include <map>
#include <span>

namespace velto {

class PipeWireDevice {
  public:
    /// Calls `changed` from within server callbacks.
    PipeWireDevice(pw_registry* registry, uint32_t globalID, std::function<void()> changed);

    const PipeWireProperties& properties() const noexcept { return properties_; }
    /// Whether one of the card's profile devices has an active output route, through which its volume is set.
    bool hasRoute(uint32_t profileDevice) const { return routes_.contains(profileDevice); }
    /// Sets the linear volumes of a route, one a channel, or its mute, and lets the session manager store it.
    void setRouteVolumes(uint32_t profileDevice, std::span<const float> volumes);
    void setRouteMute(uint32_t profileDevice, bool isMuted);

  private:
    struct Events;
    void setRouteProps(uint32_t profileDevice, const spa_pod* props);

    PipeWireProxy proxy_;
    PipeWireProperties properties_;
    /// Active output routes: profile device to route index.
    std::map<uint32_t, int32_t> routes_;
    uint32_t routeFlags_ = 0; // they change with every change of the routes
    std::function<void()> changed_;
};

} // namespace velto
