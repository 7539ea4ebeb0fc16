#include "VeltoCore/Sync/SyncTestPlayer.h"

#include "Simulation/SimulatedAudioEngine.h"
#include "Tests/Support/Machine.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <memory>
#include <vector>

namespace velto {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

class SyncTestPlayerTests : public MachineTest {
  protected:
    SimulatedAudioEngine engine;
    std::unique_ptr<SyncTestPlayer> player = std::make_unique<SyncTestPlayer>(loop, engine);
};

TEST_F(SyncTestPlayerTests, ClicksForItsTimeAndStopsByItself) {
    engine.setOutputSampleRate(44100);
    int changes = 0;
    const auto subscription = player->observeIsPlaying([&] { ++changes; });
    player->start(0.4F, 6, 0.5);
    EXPECT_TRUE(player->isPlaying());
    const auto heard = engine.hear(22051);
    EXPECT_EQ(heard[0], heard[1]);
    const float loudest = *std::ranges::max_element(heard[0]);
    EXPECT_GT(loudest, 0.9F * 0.4F);
    EXPECT_LT(loudest, 0.4F);
    EXPECT_EQ(std::vector(heard[0].begin() + 529, heard[0].end()), std::vector(22051U - 529U, 0.0F))
        << "a click has 529 frames at this rate, and the next one starts with a zero";

    loop.advance(5999ms);
    EXPECT_TRUE(player->isPlaying());
    loop.advance(1ms);
    EXPECT_FALSE(player->isPlaying() || engine.isRunning());
    EXPECT_EQ(changes, 2);
    player->stop();
    EXPECT_THAT(log.lines(), ElementsAre("Sync info: Sync test started at 44100.000000 Hz",
                                         "Sync info: Sync test stopped"));
}

TEST_F(SyncTestPlayerTests, ANewStartHasItsOwnTimer) {
    player->start(0.5F, 6, 0.5);
    loop.advance(4s);
    player->start(0.1F, 6, 0.25);
    loop.advance(5s);
    EXPECT_TRUE(player->isPlaying()) << "the first test's timer is gone";
    const auto heard = engine.hear(600);
    EXPECT_LT(*std::ranges::max_element(heard[0]), 0.1F);
    EXPECT_EQ(loop.pendingTimers(), 1U);
    loop.advance(1s);
    EXPECT_FALSE(engine.isRunning());
    EXPECT_EQ(log.count("stopped"), 2U);

    player->start(0.5F, std::numeric_limits<double>::infinity(), 0.5);
    loop.advance(24h);
    EXPECT_TRUE(player->isPlaying());
    player->stop();
    for (const double none : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()}) {
        player->start(0.5F, none, 0.5);
        loop.runReady();
        EXPECT_FALSE(player->isPlaying()) << none;
    }
    player->start(0.5F, 6, 0.5);
    player.reset();
    EXPECT_FALSE(engine.isRunning());
}

TEST_F(SyncTestPlayerTests, WhatCantStartIsLoggedAndSilent) {
    player->start(0.5F, 6, 0.5);
    log.clear();
    engine.failNextStart("no output");
    player->start(0.5F, 6, 0.5);
    EXPECT_FALSE(player->isPlaying() || engine.isRunning()) << "the test before has ended all the same";
    EXPECT_THAT(log.lines(), ElementsAre("Sync info: Sync test stopped",
                                         "Sync error: Sync test failed to start: no output"));
    engine.setOutputSampleRate(std::numeric_limits<double>::infinity());
    player->start(0.5F, 6, 0.5);
    EXPECT_FALSE(player->isPlaying());
    EXPECT_EQ(log.count("failed to start"), 2U);
    loop.runUntilIdle();
    EXPECT_EQ(log.count("stopped"), 1U);
}

} // namespace
} // namespace velto
