// What reading and writing the list of presets costs. Both must grow with the list and no faster; nobody
// waits for 10,000 presets longer than 100 ms.
#include "VeltoCore/Settings/AudioPreset.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace velto {
namespace {

std::vector<AudioPreset> presets(std::int64_t count) {
    const auto first = AudioOutputDevice::disconnected("AppleUSBAudioEngine:Acme:Interface:1100000:1,2",
                                                       "Acme Interface", AudioTransportType::Kind::usb);
    const auto second = AudioOutputDevice::disconnected("38-18-4C-AA-BB-CC:output", "Küche 🎧",
                                                        AudioTransportType::Kind::bluetooth);
    std::vector<AudioPreset> result;
    for (std::int64_t i = 0; i < count; ++i) {
        AudioPreset preset =
            AudioPreset::create("Preset " + std::to_string(i), first, second, Date{789e6 + 0.25});
        preset.deviceSettings = {
            {first.uid, {.volume = 0.3F, .isMuted = false, .delayMilliseconds = 12.4}},
            {second.uid, {.volume = 0.7F, .isMuted = true, .delayMilliseconds = 0}},
        };
        preset.masterVolume = 0.5F;
        result.push_back(std::move(preset));
    }
    return result;
}

void decode(benchmark::State& state) {
    const Data data = encodePresets(presets(state.range(0))).value();
    for (auto _ : state)
        benchmark::DoNotOptimize(decodePresets(data));
    state.counters["bytes"] = static_cast<double>(data.size());
    state.SetComplexityN(state.range(0));
}
BENCHMARK(decode)->Arg(10)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->Complexity();

void encode(benchmark::State& state) {
    const auto list = presets(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(encodePresets(list));
    state.SetComplexityN(state.range(0));
}
BENCHMARK(encode)->Arg(10)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->Complexity();

} // namespace
} // namespace velto
