// SimulatedAudioEngine: an audio engine that is heard only by those who ask.
//
// Main actor only; there is no audio thread: what plays is rendered when somebody listens. A start while
// something plays is a mistake of the caller: std::logic_error.
#pragma once

#include "VeltoCore/Sync/AudioEngine.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace velto {

class SimulatedAudioEngine final : public AudioEngine {
  public:
    double outputSampleRate() override { return outputSampleRate_; }
    void start(double sampleRate, RenderBlock render) override;
    void stop() noexcept override { render_ = nullptr; }

    void setOutputSampleRate(double rate) noexcept { outputSampleRate_ = rate; }
    /// The next start fails with this text, once.
    void failNextStart(std::string error) { failure_ = std::move(error); }
    bool isRunning() const noexcept { return render_ != nullptr; }
    /// What the next frames sound like on each channel; silence while nothing plays.
    std::vector<std::vector<float>> hear(std::uint32_t frames, std::size_t channels = 2);

  private:
    double outputSampleRate_ = 48000;
    std::optional<std::string> failure_;
    RenderBlock render_;
};

} // namespace velto
