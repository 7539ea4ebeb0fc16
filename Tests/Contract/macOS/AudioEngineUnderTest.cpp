#include "Tests/Contract/AudioEngineUnderTest.h"

#include "Platform/macOS/AVFAudioEngine.h"
#include "Platform/macOS/DispatchMainActor.h"
#include "Tests/Contract/RealLoop.h"

#include <optional>

namespace velto {

namespace {

class AVFAudioEngineUnderTest final : public AudioEngineUnderTest {
  public:
    AudioEngine& engine() override { return *engine_; }
    void dropEngine() override { engine_.reset(); }
    bool runUntil(const std::function<bool()>& condition) override { return loop_.runUntilSeen(condition); }

  private:
    RealLoop<DispatchMainActor> loop_;
    std::optional<AVFAudioEngine> engine_{std::in_place};
};

} // namespace

std::unique_ptr<AudioEngineUnderTest> makeAudioEngineUnderTest() {
    return std::make_unique<AVFAudioEngineUnderTest>();
}

} // namespace velto
