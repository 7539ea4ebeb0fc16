#include "Platform/Linux/PipeWire/PipeWireDevice.h"

#include "Platform/Linux/PipeWire/PipeWireProps.h"

#include <spa/param/param.h>
#include <spa/param/route.h>
#include <spa/pod/builder.h>

#include <array>
#include <utility>

namespace velto {

struct PipeWireDevice::Events {
    static void info(void* data, const pw_device_info* info) {
        auto& self = *static_cast<PipeWireDevice*>(data);
        if (info->change_mask & PW_DEVICE_CHANGE_MASK_PROPS) mergeProperties(self.properties_, info->props);
        // Every change of the routes comes with a new list of them, but an empty list with no event at all.
        for (uint32_t i = 0; i < info->n_params; ++i)
            if (info->params[i].id == SPA_PARAM_Route &&
                std::exchange(self.routeFlags_, info->params[i].flags) != info->params[i].flags)
                self.routes_.clear();
        self.changed_();
    }
    static void param(void* data, int, uint32_t id, uint32_t index, uint32_t, const spa_pod* pod) {
        auto& self = *static_cast<PipeWireDevice*>(data);
        if (id != SPA_PARAM_Route || !pod) return;
        if (index == 0) self.routes_.clear(); // a new list begins
        const auto route = readOutputRoute(pod);
        if (!route) return;
        self.routes_.insert_or_assign(route->profileDevice, route->index);
        self.changed_();
    }
    static constexpr pw_device_events table{PW_VERSION_DEVICE_EVENTS, info, param};
};

PipeWireDevice::PipeWireDevice(pw_registry* registry, uint32_t globalID, std::function<void()> changed)
    : proxy_(registry, globalID, PW_TYPE_INTERFACE_Device, PW_VERSION_DEVICE), changed_(std::move(changed)) {
    proxy_.listen(&Events::table, this);
    uint32_t watched = SPA_PARAM_Route;
    if (auto* device = proxy_.as<pw_device>()) pw_device_subscribe_params(device, &watched, 1);
}

void PipeWireDevice::setRouteVolumes(uint32_t profileDevice, std::span<const float> volumes) {
    setRouteProps(profileDevice, PipeWirePropsPod::volumes(volumes).pod());
}

void PipeWireDevice::setRouteMute(uint32_t profileDevice, bool isMuted) {
    setRouteProps(profileDevice, PipeWirePropsPod::mute(isMuted).pod());
}

void PipeWireDevice::setRouteProps(uint32_t profileDevice, const spa_pod* props) {
    auto* device = proxy_.as<pw_device>();
    const auto route = routes_.find(profileDevice);
    if (!device || route == routes_.end()) return;
    alignas(8) std::array<std::uint8_t, 2048> buffer{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, buffer.data(), buffer.size());
    spa_pod_frame frame{};
    spa_pod_builder_push_object(&builder, &frame, SPA_TYPE_OBJECT_ParamRoute, SPA_PARAM_Route);
    spa_pod_builder_prop(&builder, SPA_PARAM_ROUTE_index, 0);
    spa_pod_builder_int(&builder, route->second);
    spa_pod_builder_prop(&builder, SPA_PARAM_ROUTE_device, 0);
    spa_pod_builder_int(&builder, static_cast<int32_t>(profileDevice));
    spa_pod_builder_prop(&builder, SPA_PARAM_ROUTE_props, 0);
    spa_pod_builder_primitive(&builder, props);
    spa_pod_builder_prop(&builder, SPA_PARAM_ROUTE_save, 0);
    spa_pod_builder_bool(&builder, true);
    const auto* pod = static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &frame));
    pw_device_set_param(device, SPA_PARAM_Route, 0, pod);
}

} // namespace velto
