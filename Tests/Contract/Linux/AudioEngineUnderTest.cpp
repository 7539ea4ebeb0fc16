#include "Tests/Contract/AudioEngineUnderTest.h"

#include "Platform/Linux/PipeWire/PipeWireAudioEngine.h"
#include "Tests/Contract/Linux/SoundingMachine.h"

namespace velto {

namespace {

class PipeWireAudioEngineUnderTest final : public AudioEngineUnderTest {
  public:
    AudioEngine& engine() override { return *engine_; }
    void dropEngine() override { engine_.reset(); }
    bool runUntil(const std::function<bool()>& condition) override {
        return machine_.loop.runUntilSeen(condition);
    }

  private:
    SoundingMachine machine_;
    std::optional<PipeWireAudioEngine> engine_{std::in_place, *machine_.client, machine_.loop.actor(),
                                               machine_.server.socket()};
};

} // namespace

std::unique_ptr<AudioEngineUnderTest> makeAudioEngineUnderTest() {
    return std::make_unique<PipeWireAudioEngineUnderTest>();
}

} // namespace velto
