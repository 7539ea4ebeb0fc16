// PipeWireNode: one audio device of the server (a sink, a source, or both), mirrored.
#pragma once

#include "Platform/Linux/PipeWire/PipeWireProxy.h"

#include "VeltoCore/CoreAudio/CoreAudioTypes.h"

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace velto {

class PipeWireNode {
  public:
    /// Calls `changed` from within server callbacks.
    PipeWireNode(pw_registry* registry, uint32_t globalID, AudioObjectID objectID,
                 PipeWireProperties properties, std::function<void()> changed);

    /// Whether the server's registry entry is that of an audio device.
    static bool isAudioDevice(const PipeWireProperties& properties);

    uint32_t globalID() const noexcept { return globalID_; }
    AudioObjectID objectID() const noexcept { return objectID_; }
    const PipeWireProperties& properties() const noexcept { return properties_; }
    /// The node's name, which is stable across replugging: the device's UID.
    const std::string& name() const noexcept { return name_; }
    /// For the user: the description, else the nickname, else the name.
    std::string_view displayName() const;
    /// Whether sound can be played to it.
    bool isSink() const noexcept { return isSink_; }
    bool isRunning() const noexcept { return state_ == PW_NODE_STATE_RUNNING; }
    bool hasFailed() const noexcept { return state_ == PW_NODE_STATE_ERROR; }
    /// Channels of the formats it offers; 0 until known.
    uint32_t offeredChannels() const noexcept { return offeredChannels_; }

    /// Linear volumes, one a channel; empty without a volume control.
    const std::vector<float>& channelVolumes() const noexcept { return channelVolumes_; }
    std::optional<bool> isMuted() const noexcept { return isMuted_; }
    void setChannelVolumes(std::span<const float> volumes);
    void setMute(bool isMuted);

    /// Whether its properties and parameters have arrived: before that it is no device for anybody.
    bool isKnown() const noexcept { return isKnown_; }
    void markKnown() noexcept { isKnown_ = true; }

  private:
    struct Events;
    void setProps(const spa_pod* props);

    PipeWireProxy proxy_;
    uint32_t globalID_;
    AudioObjectID objectID_;
    PipeWireProperties properties_;
    std::string name_;
    bool isSink_ = false;
    pw_node_state state_ = PW_NODE_STATE_CREATING;
    uint32_t offeredChannels_ = 0;
    std::vector<float> channelVolumes_;
    std::optional<bool> isMuted_;
    bool isKnown_ = false;
    std::function<void()> changed_;
};

} // namespace velto
