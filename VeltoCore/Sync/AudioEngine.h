// AudioEngine: plays sound that the program makes itself on the default output, wherever that is.
//
// Owned by the root of the object graph. All but the render block runs on the main actor.
#pragma once

#include "VeltoCore/CoreAudio/CoreAudioTypes.h"

#include <cstdint>
#include <functional>
#include <span>

namespace velto {

class AudioEngine {
  public:
    /// Fills the buffers, one a channel, with so many frames of samples from -1 to 1; a buffer without data
    /// is null. Called on the audio thread: it must not wait, allocate or throw. Answers noErr, or why there
    /// is no sound.
    using RenderBlock = std::function<OSStatus(std::uint32_t frameCount, std::span<float* const> bufferList)>;

    /// Stops.
    virtual ~AudioEngine() = default;
    /// Of the default output, in Hz. Throws when there is none.
    virtual double outputSampleRate() = 0;
    /// Plays what the block renders at that rate until stop(). Throws, and plays nothing, when it can't. Only
    /// while nothing plays.
    virtual void start(double sampleRate, RenderBlock render) = 0;
    /// Once it returns the block is not called any more, and gone. Nothing when nothing plays.
    virtual void stop() noexcept = 0;
};

} // namespace velto
