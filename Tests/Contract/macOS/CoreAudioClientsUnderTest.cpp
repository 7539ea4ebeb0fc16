#include "Tests/Contract/CoreAudioClientUnderTest.h"

#include "Platform/macOS/DispatchMainActor.h"
#include "Tests/Contract/RealLoop.h"
#include "Tests/Contract/SimulatedClientUnderTest.h"
#include "VeltoCore/CoreAudio/SystemCoreAudioClient.h"

namespace velto {

namespace {

/// The Mac's own outputs.
class SystemClientUnderTest final : public CoreAudioClientUnderTest {
  public:
    CoreAudioClient& client() override { return client_; }
    bool runUntil(const std::function<bool()>& condition) override { return loop_.runUntilSeen(condition); }

  private:
    RealLoop<DispatchMainActor> loop_;
    SystemCoreAudioClient client_;
};

} // namespace

std::vector<CoreAudioClientMaker> coreAudioClientsUnderTest() {
    return {{"System", [] { return std::make_unique<SystemClientUnderTest>(); }},
            {"Simulated", makeSimulatedClientUnderTest, true}};
}

} // namespace velto
