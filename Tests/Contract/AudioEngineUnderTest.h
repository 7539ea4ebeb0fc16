// AudioEngineUnderTest: a platform's engine on a machine that has a default output.
#pragma once

#include "VeltoCore/Sync/AudioEngine.h"

#include <functional>
#include <memory>

namespace velto {

class AudioEngineUnderTest {
  public:
    virtual ~AudioEngineUnderTest() = default;
    virtual AudioEngine& engine() = 0;
    /// Destroys it; there is no engine any more.
    virtual void dropEngine() = 0;
    /// Runs the main actor until the condition, which the audio thread brings about, holds; false after a
    /// long while.
    virtual bool runUntil(const std::function<bool()>& condition) = 0;
};

std::unique_ptr<AudioEngineUnderTest> makeAudioEngineUnderTest();

} // namespace velto
