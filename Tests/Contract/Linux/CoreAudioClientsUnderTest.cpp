#include "Tests/Contract/Linux/SoundingMachine.h"
#include "Tests/Contract/SimulatedClientUnderTest.h"

namespace velto {

namespace {

class PipeWireClientUnderTest final : public CoreAudioClientUnderTest {
  public:
    CoreAudioClient& client() override { return *machine_.client; }
    bool runUntil(const std::function<bool()>& condition) override {
        return machine_.loop.runUntil(condition);
    }

  private:
    SoundingMachine machine_;
};

} // namespace

std::vector<CoreAudioClientMaker> coreAudioClientsUnderTest() {
    return {{"PipeWire", [] { return std::make_unique<PipeWireClientUnderTest>(); }},
            {"Simulated", makeSimulatedClientUnderTest}};
}

} // namespace velto
