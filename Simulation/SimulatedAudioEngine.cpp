#include "Simulation/SimulatedAudioEngine.h"

#include <stdexcept>

namespace velto {

void SimulatedAudioEngine::start(double, RenderBlock render) {
    if (isRunning()) throw std::logic_error("Simulated audio engine: something plays already");
    if (const auto failure = std::exchange(failure_, std::nullopt)) throw std::runtime_error(*failure);
    render_ = std::move(render);
}

std::vector<std::vector<float>> SimulatedAudioEngine::hear(std::uint32_t frames, std::size_t channels) {
    std::vector<std::vector<float>> heard(channels, std::vector<float>(frames));
    std::vector<float*> buffers;
    for (std::vector<float>& channel : heard)
        buffers.push_back(channel.data());
    if (render_) render_(frames, buffers);
    return heard;
}

} // namespace velto
