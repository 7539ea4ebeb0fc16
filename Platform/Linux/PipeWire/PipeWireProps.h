// PipeWireProps: builds and reads the volume parameters of nodes and routes.
#pragma once

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
