// AVFAudioEngine: plays what the program renders through the system's audio engine, into the default output.
//
// Owned by the program's root, used on the main actor; the render block runs on the engine's audio thread.
#pragma once

#include "VeltoCore/Sync/AudioEngine.h"

#include <memory>

namespace velto {

class AVFAudioEngine final : public AudioEngine {
  public:
    AVFAudioEngine();
    AVFAudioEngine(const AVFAudioEngine&) = delete;
    AVFAudioEngine& operator=(const AVFAudioEngine&) = delete;
    ~AVFAudioEngine() override;

    double outputSampleRate() override;
    void start(double sampleRate, RenderBlock render) override;
    void stop() noexcept override;

  private:
    struct Run;
    std::unique_ptr<Run> run_; // none while nothing plays
};

} // namespace velto
