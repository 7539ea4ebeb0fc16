#include "Platform/Linux/PipeWire/PipeWireProps.h"

#include <spa/param/audio/format-utils.h>
#include <spa/param/audio/raw.h>
#include <spa/param/param.h>
#include <spa/param/props.h>
#include <spa/param/route.h>
#include <spa/pod/builder.h>
#include <spa/pod/iter.h>
#include <spa/pod/parser.h>

#include <algorithm>

namespace velto {

PipeWireVolumeProps readVolumeProps(const spa_pod* props) {
    PipeWireVolumeProps result;
    if (!props || !spa_pod_is_object(props)) return result;
    const auto* object = reinterpret_cast<const spa_pod_object*>(props);
    if (const spa_pod_prop* volumes = spa_pod_object_find_prop(object, nullptr, SPA_PROP_channelVolumes)) {
        std::array<float, SPA_AUDIO_MAX_CHANNELS> values{};
        // The server's function copies as many bytes an element as the array says that there are.
        const bool isOfFloats =
            spa_pod_is_array(&volumes->value) && SPA_POD_ARRAY_VALUE_SIZE(&volumes->value) == sizeof(float);
        const uint32_t count =
            isOfFloats ? spa_pod_copy_array(&volumes->value, SPA_TYPE_Float, values.data(), values.size())
                       : 0;
        result.channelVolumes.emplace(values.begin(), values.begin() + count);
    }
    bool isMuted = false;
    if (const spa_pod_prop* mute = spa_pod_object_find_prop(object, nullptr, SPA_PROP_mute))
        if (spa_pod_get_bool(&mute->value, &isMuted) == 0) result.isMuted = isMuted;
    return result;
}

uint32_t readOfferedChannels(const spa_pod* format) {
    if (!spa_pod_is_object(format)) return 0;
    const auto* object = reinterpret_cast<const spa_pod_object*>(format);
    const spa_pod_prop* channels = spa_pod_object_find_prop(object, nullptr, SPA_FORMAT_AUDIO_channels);
    if (!channels) return 0;
    if (channels->value.type == SPA_TYPE_Choice && !spa_pod_is_choice(&channels->value))
        return 0; // cut short
    uint32_t count = 0;
    uint32_t choice = 0;
    const spa_pod* values = spa_pod_get_values(&channels->value, &count, &choice);
    int32_t number = 0;
    if (count == 0 || spa_pod_get_int(values, &number) < 0 || number < 0) return 0;
    return static_cast<uint32_t>(number);
}

std::optional<PipeWireRoute> readOutputRoute(const spa_pod* route) {
    int32_t index = 0;
    int32_t profileDevice = 0;
    uint32_t direction = 0;
    const int parsed = spa_pod_parse_object(route, SPA_TYPE_OBJECT_ParamRoute, nullptr, //
                                            SPA_PARAM_ROUTE_index, SPA_POD_Int(&index), //
                                            SPA_PARAM_ROUTE_direction, SPA_POD_Id(&direction),
                                            SPA_PARAM_ROUTE_device, SPA_POD_Int(&profileDevice));
    if (parsed < 0 || direction != SPA_DIRECTION_OUTPUT || profileDevice < 0) return std::nullopt;
    return PipeWireRoute{index, static_cast<uint32_t>(profileDevice)};
}

std::optional<spa_latency_info> readPlaybackLatency(const spa_pod* parameter) {
    spa_latency_info latency{};
    uint32_t direction = 0;                                                                   // any number
    const int parsed = spa_pod_parse_object(parameter, SPA_TYPE_OBJECT_ParamLatency, nullptr, //
                                            SPA_PARAM_LATENCY_direction, SPA_POD_Id(&direction),
                                            SPA_PARAM_LATENCY_minQuantum,
                                            SPA_POD_OPT_Float(&latency.min_quantum), //
                                            SPA_PARAM_LATENCY_minRate, SPA_POD_OPT_Int(&latency.min_rate),
                                            SPA_PARAM_LATENCY_minNs, SPA_POD_OPT_Long(&latency.min_ns));
    if (parsed < 0 || direction != SPA_DIRECTION_INPUT) return std::nullopt;
    latency.direction = SPA_DIRECTION_INPUT;
    return latency;
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
