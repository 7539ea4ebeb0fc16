#include "Tests/Contract/Linux/SoundingMachine.h"
#include "Tests/Contract/SimulatedClientUnderTest.h"

#include <signal.h>

namespace velto {

namespace {

class PipeWireClientUnderTest final : public CoreAudioClientUnderTest, private Workbench {
  public:
    CoreAudioClient& client() override { return *machine_.client; }
    bool runUntil(const std::function<bool()>& condition) override {
        return machine_.loop.runUntil(condition);
    }
    Workbench* workbench() override { return this; }

  private:
    void unplug(const std::string& uid) override { machine_.lab->unplug(uid); }
    void replug(const std::string& uid) override { machine_.lab->plug(SoundingMachine::output(uid)); }
    void stopService() override { machine_.stopServer(); }
    void startService() override { machine_.startServer(); }
    void hangService() override { kill(machine_.server.daemonID(), SIGSTOP); }
    void resumeService() override { kill(machine_.server.daemonID(), SIGCONT); }

    SoundingMachine machine_;
};

} // namespace

std::vector<CoreAudioClientMaker> coreAudioClientsUnderTest() {
    return {{"PipeWire", [] { return std::make_unique<PipeWireClientUnderTest>(); }, true},
            {"Simulated", makeSimulatedClientUnderTest, true}};
}

} // namespace velto
