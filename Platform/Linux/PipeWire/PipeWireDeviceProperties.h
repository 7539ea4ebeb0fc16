// PipeWireDeviceProperties: what a node and the card behind it say of a device, in the core's terms.
#pragma once

#include "Platform/Linux/PipeWire/PipeWireGraph.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace velto::PipeWireDeviceProperties {

/// The node's name, except for another program's node that has the name of our aggregate: it must not be
/// taken for that.
std::string uid(const PipeWireNode& node);
/// Null when there is none of that UID.
const PipeWireNode* device(const PipeWireGraph& graph, std::string_view forUID);
/// The transport code from bus, API and profile; 0 when nothing tells.
std::uint32_t transportType(const PipeWireGraph& graph, const PipeWireNode& node);
std::optional<std::string> manufacturer(const PipeWireGraph& graph, const PipeWireNode& node);
/// Frames at the given rate from the device's playback ports to the ear; none while the server says nothing.
std::optional<std::int64_t> latencyFrames(const PipeWireGraph& graph, const PipeWireNode& node,
                                          double sampleRate, std::int64_t quantum);
/// Channels that can be played to; 0 for a source.
std::int64_t outputChannelCount(const PipeWireGraph& graph, const PipeWireNode& node);

/// The scalar volume of linear channel volumes: the loudest counts. From 0 to 1, above it where somebody else
/// amplifies. None without a volume control.
std::optional<float> scalarVolume(const PipeWireNode& node);
/// Sets all channels to the scalar volume, through the card's route where there is one.
void setScalarVolume(const PipeWireGraph& graph, PipeWireNode& node, float volume);
void setMute(const PipeWireGraph& graph, PipeWireNode& node, bool isMuted);

} // namespace velto::PipeWireDeviceProperties
