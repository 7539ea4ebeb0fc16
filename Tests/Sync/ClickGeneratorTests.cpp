#include "VeltoCore/Sync/ClickGenerator.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>
#include <stdexcept>
#include <vector>

namespace velto {
namespace {

using testing::Each;

/// The next frames, rendered in pieces of changing sizes as an audio thread asks for them.
std::vector<float> rendered(ClickGenerator& generator, std::size_t frames) {
    std::vector<float> result(frames, -9);
    std::size_t done = 0;
    for (std::size_t piece = 1; done < frames; piece = piece * 3 % 1021) {
        const std::size_t count = std::min(piece, frames - done);
        const std::array<float*, 1> buffers{result.data() + done};
        EXPECT_EQ(generator.render(static_cast<std::uint32_t>(count), buffers), noErr);
        done += count;
    }
    return result;
}

/// The furthest that the samples are from decaying 1 kHz tones of that many frames, so far apart.
double deviation(const std::vector<float>& samples, double rate, double peak, std::size_t length,
                 std::size_t interval) {
    double furthest = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const std::size_t frame = i % interval;
        const double time = static_cast<double>(frame) / rate;
        const double tone = peak * std::sin(2 * std::numbers::pi * 1000 * time) * std::exp(-400 * time);
        furthest = std::max(furthest, std::abs(samples[i] - (frame < length ? tone : 0)));
    }
    return furthest;
}

TEST(ClickGeneratorTests, ClicksAreTonesThatDecayWithSilenceBetweenThem) {
    const struct {
        double rate;
        double interval;
        float gain;
        std::size_t clickFrames;
        std::size_t intervalFrames;
    } cases[] = {{48000, 0.5, 0.5F, 576, 24000},
                 {44100, 0.5, 1, 529, 22050},
                 {44100, 0.1001, 1, 529, 4414},
                 {192000, 0.25, 0.1F, 2304, 48000},
                 {48000, 0.01, 1, 480, 480}}; // the next click cuts the one before short
    for (const auto& [rate, interval, gain, clickFrames, intervalFrames] : cases) {
        ClickGenerator generator(rate, interval, gain);
        const auto samples = rendered(generator, 3 * intervalFrames + 7);
        EXPECT_LT(deviation(samples, rate, gain, clickFrames, intervalFrames), 1e-6) << rate << interval;
        EXPECT_EQ(samples[0], 0);
        EXPECT_NE(samples[intervalFrames + clickFrames - 1], 0);
    }
}

TEST(ClickGeneratorTests, NoIntervalIsSilence) {
    for (const double interval : {0.0, -1.0, 1e-9}) {
        ClickGenerator generator(48000, interval, 1);
        EXPECT_THAT(rendered(generator, 2000), Each(0.0F));
    }
    constexpr double endless = std::numeric_limits<double>::infinity();
    EXPECT_THROW(ClickGenerator(48000, endless, 1), std::out_of_range);
    EXPECT_THROW(ClickGenerator(48000, 1e15, 1), std::out_of_range);
    EXPECT_THROW(ClickGenerator(std::numeric_limits<double>::quiet_NaN(), 0.5, 1), std::out_of_range);
    EXPECT_THROW(ClickGenerator(-endless, 0, 1), std::out_of_range);
}

TEST(ClickGeneratorTests, EveryChannelGetsTheSameAndAMissingBufferIsSkipped) {
    ClickGenerator one(48000, 0.5, 1);
    ClickGenerator several(48000, 0.5, 1);
    const auto expected = rendered(one, 600);
    std::vector<float> left(600);
    std::vector<float> right(600);
    EXPECT_EQ(several.render(600, std::array<float*, 3>{left.data(), nullptr, right.data()}), noErr);
    EXPECT_EQ(left, expected);
    EXPECT_EQ(right, expected);
    EXPECT_EQ(several.render(23400, {}), noErr);
    EXPECT_EQ(rendered(several, 600), expected) << "frames that nobody hears count too";
}

} // namespace
} // namespace velto
