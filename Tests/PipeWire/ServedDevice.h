// ServedDevice: a device of one port that the lab serves itself, as programs with no card behind them do.
#pragma once

#include "Tools/SoundLab/SoundLab.h"

#include <pipewire/filter.h>
#include <spa/param/latency-utils.h>

#include <array>
#include <cstdint>

namespace velto {

class ServedDevice {
  public:
    /// Appears in a moment. The latency's direction is that of its port: input for an output device.
    ServedDevice(SoundLab& lab, const char* name, const char* mediaClass, spa_latency_info latency)
        : lab_(lab) {
        const SoundLab::Lock lock(lab_);
        filter_ =
            pw_filter_new(lab_.core(), "served",
                          pw_properties_new(PW_KEY_MEDIA_CLASS, mediaClass, PW_KEY_NODE_NAME, name, nullptr));
        std::array<std::uint8_t, 1024> buffer{};
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, buffer.data(), buffer.size());
        const spa_pod* parameter = spa_latency_build(&builder, SPA_PARAM_Latency, &latency);
        pw_filter_add_port(filter_, latency.direction, PW_FILTER_PORT_FLAG_MAP_BUFFERS, 1,
                           pw_properties_new(PW_KEY_FORMAT_DSP, "32 bit float mono audio", PW_KEY_PORT_NAME,
                                             "port", nullptr),
                           &parameter, 1);
        pw_filter_connect(filter_, PW_FILTER_FLAG_NONE, nullptr, 0);
    }
    ServedDevice(SoundLab& lab, const char* name, const char* mediaClass, spa_direction direction)
        : ServedDevice(lab, name, mediaClass, spa_latency_info{direction, 0, 0, 0, 0, 0, 0}) {}
    ServedDevice(const ServedDevice&) = delete;
    ServedDevice& operator=(const ServedDevice&) = delete;
    ~ServedDevice() {
        const SoundLab::Lock lock(lab_);
        pw_filter_destroy(filter_);
    }

    uint32_t globalID() const { return pw_filter_get_node_id(filter_); }
    void rename(const char* description) const {
        const SoundLab::Lock lock(lab_);
        const spa_dict_item item{PW_KEY_NODE_DESCRIPTION, description};
        const spa_dict properties{0, 1, &item};
        pw_filter_update_properties(filter_, nullptr, &properties);
    }

  private:
    SoundLab& lab_;
    pw_filter* filter_ = nullptr;
};

} // namespace velto
