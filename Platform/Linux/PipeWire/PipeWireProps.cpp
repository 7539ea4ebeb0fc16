#include "Platform/Linux/PipeWire/PipeWireProps.h"

#include <spa/param/audio/raw.h>
#include <spa/param/param.h>
#include <spa/param/props.h>
#include <spa/pod/builder.h>
#include <spa/pod/iter.h>

#include <algorithm>

namespace velto {

PipeWireVolumeProps readVolumeProps(const spa_pod* props) {
    PipeWireVolumeProps result;
    if (!props || !spa_pod_is_object(props)) return result;
    const auto* object = reinterpret_cast<const spa_pod_object*>(props);
    if (const spa_pod_prop* volumes = spa_pod_object_find_prop(object, nullptr, SPA_PROP_channelVolumes)) {
        std::array<float, SPA_AUDIO_MAX_CHANNELS> values{};
        const uint32_t count =
            spa_pod_copy_array(&volumes->value, SPA_TYPE_Float, values.data(), values.size());
        result.channelVolumes.emplace(values.begin(), values.begin() + count);
    }
    bool isMuted = false;
    if (const spa_pod_prop* mute = spa_pod_object_find_prop(object, nullptr, SPA_PROP_mute))
        if (spa_pod_get_bool(&mute->value, &isMuted) == 0) result.isMuted = isMuted;
    return result;
}

PipeWirePropsPod PipeWirePropsPod::volumes(std::span<const float> channelVolumes) {
    PipeWirePropsPod result;
    const auto count =
        static_cast<uint32_t>(std::min<std::size_t>(channelVolumes.size(), SPA_AUDIO_MAX_CHANNELS));
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, result.buffer_.data(), result.buffer_.size());
    spa_pod_frame frame{};
    spa_pod_builder_push_object(&builder, &frame, SPA_TYPE_OBJECT_Props, SPA_PARAM_Props);
    spa_pod_builder_prop(&builder, SPA_PROP_channelVolumes, 0);
    spa_pod_builder_array(&builder, sizeof(float), SPA_TYPE_Float, count, channelVolumes.data());
    spa_pod_builder_pop(&builder, &frame);
    return result;
}

PipeWirePropsPod PipeWirePropsPod::mute(bool isMuted) {
    PipeWirePropsPod result;
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, result.buffer_.data(), result.buffer_.size());
    spa_pod_frame frame{};
    spa_pod_builder_push_object(&builder, &frame, SPA_TYPE_OBJECT_Props, SPA_PARAM_Props);
    spa_pod_builder_prop(&builder, SPA_PROP_mute, 0);
    spa_pod_builder_bool(&builder, isMuted);
    spa_pod_builder_pop(&builder, &frame);
    return result;
}

} // namespace velto
