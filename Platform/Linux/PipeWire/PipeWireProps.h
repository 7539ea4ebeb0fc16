// PipeWireProps: builds the volume parameters of nodes and routes, and reads what nodes, routes and ports
// say.
//
// A parameter is made by whatever program has the node: the server passes on anything whose outermost size is
// right. So nothing in it is relied on, and what is not as it should be is read as not there.
#pragma once

#include <spa/param/latency-utils.h>
#include <spa/pod/pod.h>

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace velto {

/// What a Props parameter says about volume; absent members are not in it.
struct PipeWireVolumeProps {
    /// Linear, one a channel.
    std::optional<std::vector<float>> channelVolumes;
    std::optional<bool> isMuted;
};

PipeWireVolumeProps readVolumeProps(const spa_pod* props);
/// The number of channels a format offers first; 0 when it doesn't say.
uint32_t readOfferedChannels(const spa_pod* format);

struct PipeWireRoute {
    int32_t index = 0;
    uint32_t profileDevice = 0;
};
/// None for anything but an output route.
std::optional<PipeWireRoute> readOutputRoute(const spa_pod* route);
/// From a playback port to the ear; none for anything else.
std::optional<spa_latency_info> readPlaybackLatency(const spa_pod* latency);

/// A Props parameter in a buffer of its own.
class PipeWirePropsPod {
  public:
    static PipeWirePropsPod volumes(std::span<const float> channelVolumes);
    static PipeWirePropsPod mute(bool isMuted);
    const spa_pod* pod() const noexcept { return reinterpret_cast<const spa_pod*>(buffer_.data()); }

  private:
    // Room for the most channels there are (64) and the object around them.
    alignas(8) std::array<std::uint8_t, 1024> buffer_{};
};

} // namespace velto
