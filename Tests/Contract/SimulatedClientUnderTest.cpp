#include "Tests/Contract/SimulatedClientUnderTest.h"

#include "Simulation/SimulatedAudioSystem.h"
#include "Simulation/SimulatedMainActor.h"

#include <chrono>

namespace velto {

namespace {

class SimulatedClientUnderTest final : public CoreAudioClientUnderTest, private Workbench {
  public:
    SimulatedClientUnderTest() {
        using namespace std::chrono_literals;
        for (const auto& device : {SimulatedDevice::builtInSpeakers(), SimulatedDevice::microphone(),
                                   SimulatedDevice::usbInterface(), SimulatedDevice::bluetoothHeadphones()})
            world_.plug(device);
        world_.faults.aliveAfter = 100ms;
        world_.faults.lingersAfterDestroy = 100ms;
        world_.faults.slowOutputChange = 100ms;
    }

    CoreAudioClient& client() override { return world_; }
    bool runUntil(const std::function<bool()>& condition) override {
        while (!condition())
            if (!loop_.runNextTurn()) return condition();
        return true;
    }
    Workbench* workbench() override { return this; }

  private:
    void unplug(const std::string& uid) override { world_.unplug(uid); }
    void replug(const std::string& uid) override { world_.replugWithAnotherID(uid); }
    void stopService() override { world_.stopAudioService(); }
    void startService() override { world_.startAudioService(); }
    void hangService() override { world_.hangAudioService(); }
    void resumeService() override { world_.resumeAudioService(); }

    SimulatedMainActor loop_;
    SimulatedAudioSystem world_{loop_};
};

} // namespace

std::unique_ptr<CoreAudioClientUnderTest> makeSimulatedClientUnderTest() {
    return std::make_unique<SimulatedClientUnderTest>();
}

} // namespace velto
