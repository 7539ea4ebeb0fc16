// What a refresh of the device list costs: time, and calls to the hardware layer. Both must grow with the
// number of devices and no faster, so the calls per device are constant.
#include "Simulation/SimulatedAudioSystem.h"
#include "Simulation/SimulatedMainActor.h"
#include "VeltoCore/Devices/AudioDeviceManager.h"

#include <benchmark/benchmark.h>

#include <string>

namespace velto {
namespace {

/// Names are never compared while refreshing.
class NoCollation final : public TextCollation {
  public:
    int compare(std::string_view, std::string_view) const override { return 0; }
};

void refresh(benchmark::State& state) {
    SimulatedMainActor loop;
    SimulatedAudioSystem world(loop);
    const auto devices = state.range(0);
    for (std::int64_t i = 0; i < devices; ++i) {
        SimulatedDevice device = SimulatedDevice::builtInSpeakers();
        device.uid += std::to_string(i);
        world.plug(device);
    }
    const NoCollation collation;
    AudioDeviceManager manager(world, loop, collation);

    std::size_t calls = 0;
    for (auto _ : state) {
        world.calls.clear();
        manager.refresh();
        calls = world.calls.total();
    }
    constexpr std::size_t callsWithoutDevices = 2; // the list, the default output
    state.counters["calls"] = static_cast<double>(calls);
    state.counters["calls/device"] =
        static_cast<double>(calls - callsWithoutDevices) / static_cast<double>(devices);
    state.counters["time/device"] =
        benchmark::Counter(static_cast<double>(devices),
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    state.SetComplexityN(devices);
}
BENCHMARK(refresh)->Arg(8)->Arg(64)->Arg(512)->Complexity();

} // namespace
} // namespace velto
