// What one device event costs while a session runs: from the notification of the hardware layer until every
// component has dealt with it. The calls answered by the simulated world are part of the time; what moves the
// cable is not.
#include "Simulation/InMemoryUserDefaults.h"
#include "Simulation/SimulatedAudioSystem.h"
#include "Simulation/SimulatedMainActor.h"
#include "VeltoCore/Aggregate/AggregateDeviceManager.h"
#include "VeltoCore/Async/TaskScope.h"
#include "VeltoCore/Session/DualOutputCoordinator.h"
#include "VeltoCore/Sync/SystemMultiOutputEngine.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>

namespace velto {
namespace {

/// Names are never compared here.
class NoCollation final : public TextCollation {
  public:
    int compare(std::string_view, std::string_view) const override { return 0; }
};

/// The core over a world of that many devices; the first two play together, the last one comes and goes.
class Playing {
  public:
    explicit Playing(std::int64_t deviceCount) {
        for (std::int64_t i = 1; i <= deviceCount; ++i) {
            SimulatedDevice device = SimulatedDevice::builtInSpeakers();
            device.uid = i == deviceCount ? "last" : device.uid + std::to_string(i);
            world.plug(device);
        }
        devices.refresh();
        finish(coordinator.start());
        finish(coordinator.startDualOutput(devices.devices().at(0), devices.devices().at(1)));
    }
    Playing(const Playing&) = delete;
    Playing& operator=(const Playing&) = delete;
    ~Playing() { finish(coordinator.shutdown()); }

    bool isActive() const { return coordinator.state().is<AudioSessionState::Active>(); }
    void moveCable() { world.isPlugged("last") ? world.unplug("last") : world.replug("last"); }

    SimulatedMainActor loop;
    SimulatedAudioSystem world{loop};

  private:
    void finish(Task<void> task) {
        tasks.spawn(std::move(task));
        loop.runUntilIdle();
    }

    InMemoryUserDefaults defaults;
    const NoCollation collation;
    PreferencesManager preferences{defaults, loop};
    AudioDeviceManager devices{world, loop, collation};
    AggregateDeviceManager aggregates{world, loop};
    SystemAudioManager session{world, devices, aggregates, preferences, loop};
    SyncProfileManager syncProfiles{defaults, loop};
    DeviceVolumeController volumes{world};
    SystemMultiOutputEngine syncEngine;
    const PlatformWords words;
    DualOutputCoordinator coordinator{devices,    session,      preferences, volumes,
                                      syncEngine, syncProfiles, loop,        words};
    TaskScope tasks{loop};
};

void deviceEvent(benchmark::State& state) {
    using Clock = std::chrono::steady_clock;
    Playing playing(state.range(0));
    for (auto _ : state) {
        playing.world.calls.clear();
        playing.moveCable();
        const auto begin = Clock::now();
        playing.loop.runReady();
        state.SetIterationTime(std::chrono::duration<double>(Clock::now() - begin).count());
    }
    if (!playing.isActive()) state.SkipWithError("The session has ended");
    state.SetComplexityN(state.range(0));
}
BENCHMARK(deviceEvent)
    ->Arg(8)
    ->Arg(64)
    ->Arg(512)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond)
    ->Complexity(benchmark::oN);

} // namespace
} // namespace velto
