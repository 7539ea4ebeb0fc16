// What a rendered click costs the audio thread: how many times faster than real time it is at 192 kHz stereo,
// which must be 200 at least, and how often it allocates, which must be never.
#include "VeltoCore/Sync/ClickGenerator.h"

#include <benchmark/benchmark.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <vector>

namespace {

std::atomic<std::int64_t> allocations = 0;

} // namespace

// Every allocation of this program is counted.
void* operator new(std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* memory = std::malloc(size > 0 ? size : 1)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace velto {
namespace {

void renderClick(benchmark::State& state) {
    constexpr double sampleRate = 192000;
    const auto frames = static_cast<std::uint32_t>(state.range(0));
    const double interval = state.range(1) > 0 ? 0.5 : 0.012; // 0: a click that never ends
    ClickGenerator generator(sampleRate, interval, 0.5F);
    std::vector<float> left(frames);
    std::vector<float> right(frames);
    const std::array<float*, 2> buffers{left.data(), right.data()};

    const std::int64_t allocationsBefore = allocations;
    for (auto _ : state) {
        generator.render(frames, buffers);
        benchmark::ClobberMemory();
    }
    const std::int64_t allocationsAfter = allocations;
    state.counters["allocations"] = static_cast<double>(allocationsAfter - allocationsBefore);
    state.counters["x real time"] =
        benchmark::Counter(frames / sampleRate, benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(renderClick)->ArgNames({"frames", "silence"})->Args({256, 1})->Args({4096, 1})->Args({256, 0});

} // namespace
} // namespace velto
