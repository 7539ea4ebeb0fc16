// Program: one run of the program's core on a machine, up to the session.
//
// crash() ends it without a word: what is on disk and in the audio system stays.
#pragma once

#include "Tests/Support/Machine.h"
#include "Tests/Support/PlatformTextCollation.h"
#include "Tests/Support/Started.h"
#include "VeltoCore/Aggregate/AggregateDeviceManager.h"
#include "VeltoCore/Async/TaskScope.h"
#include "VeltoCore/Devices/AudioDeviceManager.h"
#include "VeltoCore/Recovery/UserDefaultsRecoveryStateStore.h"
#include "VeltoCore/Session/SystemAudioManager.h"

#include <memory>
#include <optional>
#include <string_view>
#include <utility>

namespace velto {

class Program {
  public:
    explicit Program(Machine& machine) : machine(machine) { devices.startObserving(); }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    /// Leaves a session as it is: stopping it is for the test.
    ~Program() { devices.stopObserving(); }

    static void crash(std::unique_ptr<Program>& program) {
        Machine& machine = program->machine;
        program.reset();
        machine.world.programDies();
        machine.defaults.startOver(machine.defaults.onDisk());
    }

    template <class T>
    Started<T> begin(Task<T> task) {
        return Started<T>(tasks, std::move(task));
    }
    /// Begins the task and runs until nothing is left to do.
    template <class T>
    Started<T> finish(Task<T> task) {
        auto started = begin(std::move(task));
        machine.loop.runUntilIdle();
        return started;
    }

    /// A start with plain settings. The devices are looked up when it is called.
    Task<void> start(std::string_view first, std::string_view second,
                     SystemAudioManager::ProgressHandler progress = {}) {
        return session.start(devices.device(first).value(), devices.device(second).value(), "Both",
                             std::nullopt, ClockStrategy::automatic, std::move(progress));
    }

    Machine& machine;
    const std::unique_ptr<TextCollation> collation = makePlatformTextCollation();
    AudioDeviceManager devices{machine.world, machine.loop, *collation};
    AggregateDeviceManager aggregates{machine.world, machine.loop};
    mutable UserDefaultsRecoveryStateStore store{machine.defaults};
    SystemAudioManager session{machine.world, devices, aggregates, store, machine.loop};
    TaskScope tasks{machine.loop}; // dies first: its tasks use the others
};

/// A test of programs, one after the other, on a machine with the usual outputs.
class ProgramTest : public MachineTest {
  protected:
    ProgramTest() {
        plugUsualOutputs();
        launch();
    }
    /// What it calls and logs by itself is forgotten.
    void launch() {
        program = std::make_unique<Program>(*this);
        loop.runReady();
        log.clear();
        world.calls.clear();
    }

    std::unique_ptr<Program> program;
};

} // namespace velto
