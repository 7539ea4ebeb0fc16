// The program dies before each call of the hardware's client, before each call by which its settings reach
// the disk, and after the last: between any two of them nothing that outlives it changes.
//
// From the moment of its death nothing that it does has an effect: the audio service obeys nobody, and the
// folder of its settings is afterwards what it was then. So the objects may come to their ends in their own
// way.
#include "Tools/Proof/Proof.h"

#include "Platform/Linux/FileUserDefaults.h"
#include "Tests/Support/Application.h"
#include "Tools/SoundLab/OwnedFolder.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

namespace velto {

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

/// Called before each call that brings something to the disk.
std::function<void(const std::string&)> beforeDiskCall;

void aboutTo(const char* reachTheDisk) {
    if (beforeDiskCall) beforeDiskCall(reachTheDisk);
}

} // namespace

} // namespace velto

// In place of those of the C library. The disk needn't be waited for: no machine loses its power here.
extern "C" int fsync(int) {
    velto::aboutTo("fsync");
    return 0;
}

extern "C" int rename(const char* from, const char* to) {
    velto::aboutTo("rename");
    return static_cast<int>(syscall(SYS_rename, from, to));
}

namespace velto {

namespace {

/// One run of the program after the other, on one machine, with its settings on a real disk.
class Lives {
  public:
    explicit Lives(const fs::path& folder) : folder_(folder) {
        fs::remove_all(folder_);
        machine.plugUsualOutputs();
        machine.world.plug(SimulatedDevice::microphone());
        machine.world.delaysOutputs = true;
        begin();
    }
    ~Lives() { end(); }

    /// Not launched yet.
    void begin() {
        defaults_ = std::make_unique<FileUserDefaults>(folder_ / "now/defaults.json", machine.loop);
        app = std::make_unique<Application>(machine, defaults_.get());
    }
    void launch() { app->launch(); }
    /// Has the program die before that of its deeds. The deed's name; "the end" for one that comes after the
    /// last.
    std::string perform(const std::function<void()>& deeds, std::size_t death) {
        std::size_t done = 0;
        std::string last = "the end";
        const auto note = [&](std::string deed) {
            if (isDead_ || done++ < death) return;
            last = std::move(deed);
            die();
        };
        beforeDiskCall = note;
        machine.world.calls.beforeEach = [&](CoreAudioOperation call) { note(std::string(name(call))); };
        deeds();
        machine.loop.runUntilIdle();
        beforeDiskCall = nullptr;
        machine.world.calls.beforeEach = nullptr;
        if (!isDead_) die();
        return last;
    }
    /// What the dead one left is found by the next.
    void beginAgain() {
        end();
        if (isDead_) {
            fs::remove_all(folder_ / "now");
            if (fs::exists(folder_ / "then")) fs::rename(folder_ / "then", folder_ / "now");
        }
        isDead_ = false;
        machine.world.programDies();
        machine.world.resumeAudioService();
        machine.loop.runUntilIdle();
        machine.log.clear();
        begin();
    }
    /// Calls that change something, and what reached the disk, of what is done.
    std::size_t changesOf(const std::function<void()>& deeds) {
        std::size_t result = 0;
        machine.world.calls.clear();
        beforeDiskCall = [&](const std::string&) { ++result; };
        deeds();
        machine.loop.runUntilIdle();
        beforeDiskCall = nullptr;
        for (const auto& call : machine.world.calls.log())
            result += isChange(call.operation);
        return result;
    }

    Machine machine;
    std::unique_ptr<Application> app;

  private:
    void end() {
        app.reset();
        defaults_.reset();
    }
    void die() {
        isDead_ = true;
        fs::remove_all(folder_ / "then");
        if (fs::exists(folder_ / "now"))
            fs::copy(folder_ / "now", folder_ / "then", fs::copy_options::recursive);
        machine.world.hangAudioService();
    }

    fs::path folder_;
    std::unique_ptr<FileUserDefaults> defaults_;
    bool isDead_ = false;
};

struct MortalOperation {
    const char* name;
    std::function<void(Lives&)> prepare;
    std::function<void(Lives&)> run;
    std::vector<std::string> defaultOutputs = {"usb"};
    std::vector<std::string> alertOutputs = {"hdmi"};
};

void idle(Lives& lives) { lives.launch(); }
void playing(Lives& lives) {
    lives.launch();
    lives.app->play("bluetooth", "builtin");
}
void degraded(Lives& lives) {
    playing(lives);
    lives.machine.unplug("bluetooth");
}
/// A saved setup of the pair, with a delay.
void saved(Lives& lives) {
    playing(lives);
    lives.app->coordinator.setSyncCorrections({{"builtin", 120}}, SyncProfile::Kind::manual);
    lives.app->coordinator.saveCurrentSessionAsPreset("Evening");
    lives.app->stop();
}
void behaveOnLoss(Lives& lives, DisconnectBehavior behaviour) {
    lives.app->preferences.disconnectBehavior.set(behaviour);
}
void activate(Lives& lives) { lives.app->activate(lives.app->preferences.presets().at(0).id); }

const std::vector<MortalOperation>& operations() {
    static const std::vector<MortalOperation> all{
        {"launch", [](Lives&) {}, [](Lives& lives) { lives.launch(); }},
        {"launch after a crash",
         [](Lives& lives) {
             playing(lives);
             lives.beginAgain();
         },
         [](Lives& lives) { lives.launch(); }},
        {"play", idle, [](Lives& lives) { lives.app->play("bluetooth", "builtin"); }},
        {"play on the default output", idle, [](Lives& lives) { lives.app->play("usb", "hdmi"); }},
        {"play another pair", playing, [](Lives& lives) { lives.app->play("hdmi", "builtin"); }},
        {"play a preset with a delay", saved, activate},
        {"play a preset instead",
         [](Lives& lives) {
             saved(lives);
             lives.app->play("hdmi", "usb");
         },
         activate},
        {"stop", playing, [](Lives& lives) { lives.app->stop(); }},
        {"reset", playing, [](Lives& lives) { lives.app->reset(); }},
        {"rebuild", playing, [](Lives& lives) { lives.app->finish(lives.app->coordinator.reconnect()); }},
        {"an output goes", playing, [](Lives& lives) { lives.machine.unplug("bluetooth"); }},
        {"an output goes, and playing ends",
         [](Lives& lives) {
             playing(lives);
             behaveOnLoss(lives, DisconnectBehavior::pauseGroup);
         },
         [](Lives& lives) { lives.machine.unplug("bluetooth"); }},
        {"an output returns", degraded, [](Lives& lives) { lives.machine.replug("bluetooth"); }},
        {"the question is answered: stop",
         [](Lives& lives) {
             playing(lives);
             behaveOnLoss(lives, DisconnectBehavior::askUser);
             lives.machine.unplug("bluetooth");
         },
         [](Lives& lives) { lives.app->finish(lives.app->coordinator.resolveDisconnect(false)); }},
        {"both outputs go", degraded, [](Lives& lives) { lives.machine.unplug("builtin"); }},
        {"the output of before goes",
         playing,
         [](Lives& lives) { lives.machine.unplug("usb"); },
         {"builtin", "bluetooth"}},
        // As long as the aggregate is there, a recovery goes back to where sound was before it.
        {"somebody chooses another output",
         playing,
         [](Lives& lives) { lives.machine.pickDefault("hdmi"); },
         {"hdmi", "usb"},
         {"hdmi", "builtin"}},
        {"the audio service restarts",
         playing,
         [](Lives& lives) { lives.app->restartAudioService(); },
         {"usb", "builtin"},
         {"hdmi", "builtin"}},
        {"the machine wakes", playing,
         [](Lives& lives) {
             lives.machine.loop.sleepMachine(1h);
             lives.app->coordinator.handleWake();
         }},
        {"volume and mute", playing,
         [](Lives& lives) {
             lives.app->volumes.setMasterVolume(0.3F);
             lives.app->volumes.setMuted(true, "builtin");
         }},
        {"a delay", playing,
         [](Lives& lives) {
             lives.app->coordinator.setSyncCorrections({{"builtin", 80}}, SyncProfile::Kind::manual);
         }},
        {"what delays is lost", playing,
         [](Lives& lives) { lives.machine.world.loseDelays(AggregateDeviceManager::aggregateUID); }},
        {"alignment", playing, [](Lives& lives) { lives.app->state.alignment().start({}); }},
        {"a setup is saved", playing,
         [](Lives& lives) { lives.app->coordinator.saveCurrentSessionAsPreset("Evening"); }},
        {"a preference", idle, [](Lives& lives) { lives.app->preferences.autoConnect.set(true); }},
        {"quit", playing, [](Lives& lives) { lives.app->quit(); }},
    };
    return all;
}

/// What the next run finds wrong, in words.
std::vector<std::string> faultsAfterwards(Lives& lives, const MortalOperation& operation) {
    lives.beginAgain();
    lives.launch();
    auto faults = violations(
        *lives.app, {.defaultOutputs = operation.defaultOutputs, .alertOutputs = operation.alertOutputs});
    if (!lives.app->isIdle()) faults.emplace_back("no quiet state after the launch");
    std::optional<Started<bool>> again;
    const std::size_t changes =
        lives.changesOf([&] { again.emplace(lives.app->begin(lives.app->session.recoverIfNeeded())); });
    if (again->value() || changes > 0) faults.emplace_back("a second recovery finds something to do");
    lives.app->quit();
    return faults;
}

std::string told(const MortalOperation& operation, std::size_t death, const std::string& deed,
                 const std::vector<std::string>& faults) {
    std::string text = std::string(operation.name) + ", dead before " + deed + ", its deed " +
                       std::to_string(death + 1) + ":";
    for (const std::string& fault : faults)
        text += "\n  " + fault;
    return text;
}

} // namespace

void dieAtEveryPoint(Proof& proof) {
    const OwnedFolder folder("velto-crash-points");
    std::int64_t points = 0, violated = 0;
    for (const MortalOperation& operation : operations()) {
        std::string deed;
        for (std::size_t death = 0; deed != "the end"; ++death) {
            Lives lives(folder.path() / "settings");
            operation.prepare(lives);
            lives.machine.loop.runUntilIdle();
            deed = lives.perform([&] { operation.run(lives); }, death);
            const auto faults = faultsAfterwards(lives, operation);
            ++points;
            if (faults.empty()) continue;
            if (++violated <= 10) proof.report.addViolation(told(operation, death, deed, faults));
        }
    }
    proof.report.add({"operations", std::to_string(operations().size())});
    proof.addCount("simulated: deaths after which something is left or lost", violated,
                   std::to_string(points) + " points");

    const auto outcome = runTest("AttackTests.KilledAfterAnyMessageItLeavesNothing", {{"VELTO_ATTACK", "5"}});
    proof.addTest("real server: killed after any message, something is left or lost", outcome, "points");
}

} // namespace velto
