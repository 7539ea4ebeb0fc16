// ClickGenerator: makes the clicks of the sync test, sample by sample.
//
// Part of SyncTestPlayer, which hands it to the audio engine. From then on only the audio thread touches it:
// rendering allocates nothing and takes no locks.
#pragma once

#include "VeltoCore/CoreAudio/CoreAudioTypes.h"

#include <cstdint>
#include <span>

namespace velto {

class ClickGenerator {
  public:
    /// `interval` in seconds from one click's start to the next; `gain` is the peak amplitude. Throws
    /// std::out_of_range where the interval or the click has more frames than can be counted.
    ClickGenerator(double sampleRate, double interval, float gain);

    /// Writes the next frames into each buffer that has data, the same on every channel. Always noErr.
    OSStatus render(std::uint32_t frameCount, std::span<float* const> bufferList) noexcept;

  private:
    double sampleRate_;
    /// From one click's start to the next.
    std::int64_t intervalFrames_;
    std::int64_t clickFrames_;
    float gain_;
    /// Frames rendered since the start.
    std::int64_t position_ = 0;
};

} // namespace velto
