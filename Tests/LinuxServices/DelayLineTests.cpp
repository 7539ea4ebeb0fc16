#include "Platform/Linux/Delay/DelayLine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <random>
#include <vector>

namespace velto {
namespace {

constexpr double tone = 441.7; // Hz

/// A line with two taps, fed block by block, and all that was put in and heard.
struct LineRun {
    explicit LineRun(std::uint32_t rate, std::array<double, 2> delays = {}) : rate(rate), line(delays) {}

    void play(std::uint32_t frames, const std::function<float(std::size_t)>& left) {
        std::array<std::vector<float>, 2> sound;
        for (std::size_t i = 0; i < frames; ++i) {
            sound[0].push_back(left(in[0].size() + i));
            sound[1].push_back(-sound[0].back());
        }
        std::array<std::array<std::vector<float>, 2>, 2> blocks;
        std::array<DelayLine::Tap, 2> taps{};
        for (std::size_t i = 0; i < 4; ++i) {
            blocks[i / 2][i % 2].assign(frames, 7);
            taps[i / 2][i % 2] = blocks[i / 2][i % 2].data();
        }
        line.process(rate, frames, {sound[0].data(), sound[1].data()}, taps);
        for (std::size_t channel = 0; channel < 2; ++channel) {
            in[channel].insert(in[channel].end(), sound[channel].begin(), sound[channel].end());
            for (std::size_t tap = 0; tap < 2; ++tap) {
                const auto& block = blocks[tap][channel];
                out[tap][channel].insert(out[tap][channel].end(), block.begin(), block.end());
            }
        }
    }
    void playNoise(std::uint32_t frames) {
        play(frames, [this](std::size_t) { return static_cast<float>(random()) / 1e9F - 1; });
    }
    void playTone(std::uint32_t frames) {
        play(frames, [this](std::size_t frame) {
            return static_cast<float>(
                std::sin(2 * std::numbers::pi * tone * static_cast<double>(frame) / rate));
        });
    }
    void playSilence(std::uint32_t frames) {
        play(frames, [](std::size_t) { return 0.0F; });
    }
    /// Whether the tap played, from that frame on, what had come so much earlier, and silence before that.
    testing::AssertionResult isDelayed(std::size_t tap, std::size_t delay, std::size_t from = 0) const {
        for (std::size_t channel = 0; channel < 2; ++channel)
            for (std::size_t i = from; i < in[channel].size(); ++i)
                if (out[tap][channel][i] != (i >= delay ? in[channel][i - delay] : 0))
                    return testing::AssertionFailure() << "frame " << i << " of channel " << channel;
        return testing::AssertionSuccess();
    }
    std::size_t frames() const { return in[0].size(); }
    float loudest(std::size_t tap, std::size_t from) const {
        float result = 0;
        for (std::size_t i = from; i < frames(); ++i)
            result = std::max({result, std::abs(out[tap][0][i]), std::abs(out[tap][1][i])});
        return result;
    }
    /// What is no part of the tone, at its loudest: a tone follows from its last two samples.
    double residual(std::size_t tap, std::size_t from) const {
        const double next = 2 * std::cos(2 * std::numbers::pi * tone / rate);
        const auto& heard = out[tap][0];
        double result = 0;
        for (std::size_t i = from; i < heard.size(); ++i)
            result = std::max(result, std::abs(heard[i] - next * heard[i - 1] + heard[i - 2]));
        return result;
    }

    std::uint32_t rate;
    DelayLine line;
    std::minstd_rand random;
    std::array<std::vector<float>, 2> in;
    std::array<std::array<std::vector<float>, 2>, 2> out;
};

TEST(DelayLineTests, EveryTapIsRightToTheSampleAtEveryRateAndBlockSize) {
    struct Case {
        std::uint32_t rate;
        std::uint32_t block;
        double milliseconds;
        std::size_t delay;
    };
    for (const Case& wanted :
         {Case{48000, 1024, 12.4, 595}, Case{48000, 64, 80, 3840}, Case{44100, 256, 0.1, 4},
          Case{96000, 2048, 183.4, 17606}, Case{192000, 8192, 1000, 192000}, Case{48000, 37, 1000, 48000},
          Case{44100, 8191, 1000, 44100}, Case{8000, 20000, 500, 4000}, Case{48000, 1024, -3, 0},
          Case{48000, 1024, NAN, 0}, Case{48000, 1024, 5000, 48000}, Case{384000, 1024, 1000, 192000}}) {
        SCOPED_TRACE(testing::Message()
                     << wanted.milliseconds << " ms at " << wanted.rate << " by " << wanted.block);
        LineRun run(wanted.rate, {0, wanted.milliseconds});
        while (run.frames() < 450'000) // more than twice around
            run.playNoise(wanted.block);
        EXPECT_TRUE(run.isDelayed(0, 0));
        EXPECT_TRUE(run.isDelayed(1, wanted.delay));
    }
}

TEST(DelayLineTests, AChangeOfDelayIsHeardAsNoClickAndIsExactAfterwards) {
    for (const std::uint32_t rate : {44100U, 48000U, 96000U}) {
        for (const std::uint32_t block : {64U, 1024U}) {
            LineRun run(rate, {0, 100});
            run.playTone(rate); // which itself begins with a click
            // One change, then one at each block, as from a slider, then a fade out and in.
            for (std::uint32_t i = 0; i < rate / block; ++i) {
                if (i == 3) run.line.setDelay(1, 500);
                if (i > rate / block / 2) run.line.setDelay(1, 100 + i * 7 % 400);
                if (i > rate / block / 2) run.line.setDelay(0, i % 3 * 0.6);
                run.playTone(block);
            }
            for (const bool isFaded : {true, false}) {
                isFaded ? run.line.playSweeps(0, 1, 0.25) : run.line.endSweeps();
                for (std::uint32_t i = 0; i < rate / 10; i += block)
                    run.playTone(block);
            }
            EXPECT_LE(run.residual(0, rate), 0.001) << rate;
            EXPECT_LE(run.residual(1, rate), 0.001) << rate;
        }
    }
}

TEST(DelayLineTests, TheLastOfSeveralChangesIsTheOneThatStays) {
    LineRun run(48000, {0, 100});
    run.playNoise(48000);
    for (int i = 0; i < 200; ++i) {
        run.line.setDelay(1, i);
        run.playNoise(37);
    }
    run.line.setDelay(1, 12.4);
    run.playNoise(2000); // what was under way, and the last
    run.playNoise(2000);
    const std::size_t settled = run.frames();
    run.playNoise(48000);
    EXPECT_TRUE(run.isDelayed(1, 595, settled));
}

TEST(DelayLineTests, ATapIsSoundingUntilTheLastOfTheSoundIsThroughTheGraph) {
    LineRun run(48000, {0, 100});
    EXPECT_FALSE(run.line.isSounding(1));
    run.playSilence(100);
    EXPECT_FALSE(run.line.isSounding(1));
    run.playNoise(1000);
    run.playSilence(DelayLine::longestCycle - 1);
    EXPECT_TRUE(run.line.isSounding(0));
    run.playSilence(1);
    EXPECT_FALSE(run.line.isSounding(0));
    EXPECT_TRUE(run.line.isSounding(1)) << "100 ms more";
    run.playSilence(4799);
    EXPECT_TRUE(run.line.isSounding(1));
    run.playSilence(1);
    EXPECT_FALSE(run.line.isSounding(1));
    run.playNoise(10);
    run.line.setDelay(1, 1000);
    run.playSilence(DelayLine::longestCycle + 47999);
    EXPECT_TRUE(run.line.isSounding(1));
    run.playSilence(1);
    EXPECT_FALSE(run.line.isSounding(1));
    run.playNoise(10);
    run.line.process(48000, 1000, {nullptr, nullptr}, {});
    EXPECT_TRUE(run.line.isSounding(1)) << "no input at all is silence too";
}

TEST(DelayLineTests, NothingOfBeforeAWipeOrARateChangeIsHeard) {
    LineRun run(48000, {0, 100});
    run.playNoise(48000);
    run.line.setDelay(1, 200); // is not faded to where nothing is heard
    run.line.wipe();
    run.playSilence(30000);
    EXPECT_EQ(run.loudest(1, 48000), 0);
    EXPECT_FALSE(run.line.isSounding(1));
    run.in = {};
    run.out = {};
    run.playNoise(48000);
    EXPECT_TRUE(run.isDelayed(1, 9600));
    run.rate = 96000;
    run.in = {};
    run.out = {};
    run.playNoise(48000);
    EXPECT_TRUE(run.isDelayed(1, 19200));
}

TEST(DelayLineTests, MissedFramesLeaveTheDelayRight) {
    for (const std::uint64_t missed : {1U, 1024U, 9000U, 60000U, 1'000'000'000U}) {
        LineRun run(48000, {0, 100});
        run.playNoise(10000);
        run.line.skip(missed);
        if (missed > 50000) { // nothing of before is heard
            run.playSilence(10000);
            EXPECT_EQ(run.loudest(1, 10000), 0);
            continue;
        }
        for (std::size_t channel = 0; channel < 2; ++channel) {
            run.in[channel].resize(10000 + missed);
            run.out[1][channel].resize(10000 + missed);
        }
        run.playNoise(20000);
        EXPECT_TRUE(run.isDelayed(1, 4800, 10000 + missed)) << missed;
    }
}

TEST(DelayLineTests, SweepsAreAsLateAsTheirTapsAndTheSoundIsSilentUntilTheirEndOrItsOwn) {
    struct Case {
        std::uint32_t rate;
        std::uint32_t block;
        double endAfter; // milliseconds; 0 for never
    };
    for (const Case& wanted : {Case{48000, 64, 2500}, Case{44100, 1024, 0}, Case{96000, 2048, 900}}) {
        SCOPED_TRACE(testing::Message() << wanted.rate << ", ended after " << wanted.endAfter);
        const auto frames = [&](double milliseconds) {
            return static_cast<std::size_t>(std::llround(milliseconds * wanted.rate / 1000));
        };
        LineRun run(wanted.rate, {0, 100});
        const auto playUntil = [&](std::size_t end) {
            while (run.frames() < end)
                run.playNoise(wanted.block);
        };
        playUntil(frames(100));
        const std::size_t order = run.frames();
        run.line.playSweeps(1, 0, 0.5);
        playUntil(order + frames(wanted.endAfter > 0 ? wanted.endAfter : DelayLine::longestSilence));
        const std::size_t end = run.frames();
        EXPECT_EQ(run.line.isSounding(0), true);
        if (wanted.endAfter > 0) run.line.endSweeps();
        playUntil(end + frames(25) + wanted.block);
        const std::size_t back = run.frames();
        playUntil(back + frames(2000));
        EXPECT_TRUE(run.isDelayed(0, 0, back));
        EXPECT_TRUE(run.isDelayed(1, frames(100), back)) << "the sound is as it was";

        const AlignmentProbe probe{.sampleRate = static_cast<double>(wanted.rate), .peak = 0.5};
        for (const std::size_t tap : {0U, 1U}) {
            const std::size_t start = order + frames(DelayLine::sweepLead) + frames(tap * 100);
            const auto sweep = tap == 1 ? AlignmentProbe::Sweep::rising : AlignmentProbe::Sweep::falling;
            std::size_t wrong = 0;
            for (std::size_t i = order + frames(25); i < end; ++i)
                wrong += run.out[tap][1][i] != (i < start ? 0 : probe.sample(sweep, i - start));
            EXPECT_EQ(wrong, 0U) << tap;
        }
    }
    LineRun run(48000, {0, 100});
    run.line.playSweeps(0, 1, 0.5);
    run.playNoise(1000);
    run.line.wipe();
    run.playNoise(48000);
    EXPECT_TRUE(run.isDelayed(1, 4800, 1000 + 4800)) << "what begins anew is heard";
}

} // namespace
} // namespace velto
