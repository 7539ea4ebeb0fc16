#include "Platform/Linux/PipeWire/PipeWireNode.h"

#include "Platform/Linux/PipeWire/PipeWireProps.h"

#include <spa/param/param.h>

#include <array>
#include <utility>

namespace velto {

namespace {

/// One that is made by a program, such as a microphone without its noise, is as good as a card's.
bool isSource(std::optional<std::string_view> mediaClass) {
    return mediaClass == "Audio/Source" || mediaClass == "Audio/Source/Virtual";
}

} // namespace

struct PipeWireNode::Events {
    static void info(void* data, const pw_node_info* info) {
        auto& self = *static_cast<PipeWireNode*>(data);
        if (info->change_mask & PW_NODE_CHANGE_MASK_PROPS) mergeProperties(self.properties_, info->props);
        if (info->change_mask & PW_NODE_CHANGE_MASK_STATE) self.state_ = info->state;
        self.changed_();
    }
    static void param(void* data, int, uint32_t id, uint32_t, uint32_t, const spa_pod* pod) {
        auto& self = *static_cast<PipeWireNode*>(data);
        if (!pod) return;
        if (id == SPA_PARAM_EnumFormat) {
            if (const uint32_t channels = readOfferedChannels(pod)) self.offeredChannels_ = channels;
        } else if (id == SPA_PARAM_Props) {
            PipeWireVolumeProps props = readVolumeProps(pod);
            if (props.channelVolumes) self.channelVolumes_ = std::move(*props.channelVolumes);
            if (props.isMuted) self.isMuted_ = props.isMuted;
        }
        self.changed_();
    }
    static constexpr pw_node_events table{PW_VERSION_NODE_EVENTS, info, param};
};

bool PipeWireNode::isAudioDevice(const PipeWireProperties& properties) {
    // What has no name can't be told from others, nor be chosen by anybody.
    if (!property(properties, PW_KEY_NODE_NAME)) return false;
    const auto mediaClass = property(properties, PW_KEY_MEDIA_CLASS);
    return mediaClass == "Audio/Sink" || mediaClass == "Audio/Duplex" || isSource(mediaClass);
}

PipeWireNode::PipeWireNode(pw_registry* registry, uint32_t globalID, AudioObjectID objectID,
                           PipeWireProperties properties, std::function<void()> changed)
    : proxy_(registry, globalID, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE), globalID_(globalID),
      objectID_(objectID), properties_(std::move(properties)),
      name_(property(properties_, PW_KEY_NODE_NAME).value_or("")),
      isSink_(!isSource(property(properties_, PW_KEY_MEDIA_CLASS))), changed_(std::move(changed)) {
    proxy_.listen(&Events::table, this);
    std::array<uint32_t, 2> watched{SPA_PARAM_Props, SPA_PARAM_EnumFormat};
    if (auto* node = proxy_.as<pw_node>()) pw_node_subscribe_params(node, watched.data(), watched.size());
}

std::string_view PipeWireNode::displayName() const {
    for (const char* key : {PW_KEY_NODE_DESCRIPTION, PW_KEY_NODE_NICK})
        if (const auto text = property(properties_, key)) return *text;
    return name_;
}

void PipeWireNode::setChannelVolumes(std::span<const float> volumes) {
    setProps(PipeWirePropsPod::volumes(volumes).pod());
}

void PipeWireNode::setMute(bool isMuted) { setProps(PipeWirePropsPod::mute(isMuted).pod()); }

void PipeWireNode::setProps(const spa_pod* props) {
    if (auto* node = proxy_.as<pw_node>()) pw_node_set_param(node, SPA_PARAM_Props, 0, props);
}

} // namespace velto
