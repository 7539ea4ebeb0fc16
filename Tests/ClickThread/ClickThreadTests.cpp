// The sync test's click on a thread of its own, as an audio thread renders it: under ThreadSanitizer, and
// with an eye on the heap.
#include "Simulation/RecordingLogSink.h"
#include "Simulation/SimulatedMainActor.h"
#include "VeltoCore/Sync/SyncTestPlayer.h"

#include <gtest/gtest.h>
#include <sanitizer/allocator_interface.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <thread>
#include <utility>

namespace velto {
namespace {

using namespace std::chrono_literals;

/// Allocations of this thread, of any kind, since countAllocations().
thread_local std::int64_t allocationCount = 0;

void countAllocations() {
    static const int installed = __sanitizer_install_malloc_and_free_hooks(
        [](const volatile void*, std::size_t) { ++allocationCount; }, [](const volatile void*) {});
    ASSERT_GT(installed, 0);
}

/// Renders on a thread of its own, as fast as it can, until it is stopped.
class ThreadedAudioEngine final : public AudioEngine {
  public:
    ~ThreadedAudioEngine() override { stop(); }

    double outputSampleRate() override { return 48000; }
    void start(double, RenderBlock render) override {
        if (thread_.joinable()) throw std::logic_error("Two audio threads at once");
        isStopping_ = false;
        framesRendered_ = 0;
        thread_ = std::thread([this, render = std::move(render)] { play(render); });
    }
    void stop() noexcept override {
        isStopping_ = true;
        if (thread_.joinable()) thread_.join();
    }

    /// Returns when the audio thread has rendered so many frames since the start.
    void waitForFrames(std::int64_t count) const {
        for (std::int64_t frames = framesRendered_; frames < count; frames = framesRendered_)
            framesRendered_.wait(frames);
    }
    /// Allocations between the first and the last call of the render block.
    std::int64_t allocations() const noexcept { return allocations_; }
    float loudest() const noexcept { return loudest_; }

  private:
    void play(const RenderBlock& render) {
        static constexpr std::uint32_t quantum = 256;
        std::array<float, quantum> left{};
        std::array<float, quantum> right{};
        const std::array<float*, 2> buffers{left.data(), right.data()};
        const std::int64_t before = allocationCount;
        while (!isStopping_) {
            render(quantum, buffers);
            for (const float sample : right)
                loudest_ = std::max(loudest_.load(), sample);
            framesRendered_ += quantum;
            framesRendered_.notify_one();
        }
        allocations_ = allocationCount - before;
    }

    std::thread thread_;
    std::atomic<bool> isStopping_ = false;
    std::atomic<std::int64_t> framesRendered_ = 0;
    std::atomic<std::int64_t> allocations_ = -1;
    std::atomic<float> loudest_ = 0;
};

/// What a test works with.
struct Stage {
    SimulatedMainActor loop;
    RecordingLogSink log;
    ThreadedAudioEngine engine;
    SyncTestPlayer player{loop, engine};
};

TEST(ClickThreadTests, PlayingRestartingAndStoppingShareNothing) {
    Stage stage;
    auto& [loop, log, engine, player] = stage;
    for (int i = 0; i < 20; ++i) {
        player.start(0.5F, 6, 0.01); // the one before still plays
        loop.advance(1s);
        engine.waitForFrames(2000);
        EXPECT_TRUE(player.isPlaying());
    }
    EXPECT_GT(engine.loudest(), 0.4F) << "the click is heard";
    loop.advance(5s);
    EXPECT_FALSE(player.isPlaying());
    player.start(0.5F, 6, 0.5);
    engine.waitForFrames(1);
}

TEST(ClickThreadTests, RenderingAllocatesNothing) {
    Stage stage;
    auto& [loop, log, engine, player] = stage;
    countAllocations();
    player.start(0.5F, 6, 0.01);
    EXPECT_GT(allocationCount, 0) << "they are counted";
    engine.waitForFrames(100'000);
    player.stop();
    EXPECT_EQ(engine.allocations(), 0);
}

} // namespace
} // namespace velto
