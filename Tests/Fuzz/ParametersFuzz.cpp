#include "Tests/Fuzz/FuzzTarget.h"

#include "Platform/Linux/PipeWire/PipeWireProps.h"

#include <spa/param/audio/raw.h>

#include <cstdint>
#include <cstring>
#include <memory>

namespace velto {

/// A parameter of any program's node, card or port. Only its outermost size is what it says.
void fuzz(std::string_view text) {
    if (text.size() < sizeof(spa_pod)) return;
    const auto bytes = std::make_unique<std::uint64_t[]>((text.size() + 7) / 8);
    std::memcpy(bytes.get(), text.data(), text.size());
    auto* parameter = reinterpret_cast<spa_pod*>(bytes.get());
    parameter->size = static_cast<std::uint32_t>(text.size() - sizeof(spa_pod));
    const auto volumes = readVolumeProps(parameter).channelVolumes;
    require(!volumes || volumes->size() <= SPA_AUDIO_MAX_CHANNELS);
    readOfferedChannels(parameter);
    readOutputRoute(parameter);
    readPlaybackLatency(parameter);
}

} // namespace velto
