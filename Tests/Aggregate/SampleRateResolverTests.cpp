#include "VeltoCore/Aggregate/SampleRateResolver.h"

#include <gmock/gmock.h>

#include <limits>
#include <optional>
#include <vector>

namespace velto {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

SampleRateRanges discrete(std::initializer_list<double> rates) {
    SampleRateRanges ranges;
    for (const double rate : rates)
        ranges.push_back({rate, rate});
    return ranges;
}

std::optional<double> resolve(const SampleRateRanges& first, const SampleRateRanges& second,
                              std::optional<double> preferred = std::nullopt) {
    return SampleRateResolver::resolve(first, second, preferred);
}

TEST(SampleRateResolverTests, PreferredRateCountsWhenBothSupportIt) {
    const SampleRateRanges wide{{44100, 96000}};
    EXPECT_EQ(resolve(wide, wide, 96000), 96000);
    EXPECT_EQ(resolve(wide, wide, 50000), 50000) << "any rate, not only a listed one";
    EXPECT_EQ(resolve(wide, discrete({44100, 48000}), 96000), 48000);
    EXPECT_EQ(resolve(discrete({44100, 48000}), wide, 96000), 48000);
}

TEST(SampleRateResolverTests, OtherwiseTheFirstListedRateThatBothSupport) {
    EXPECT_EQ(resolve(discrete({44100}), discrete({44100, 48000})), 44100);
    EXPECT_EQ(resolve(discrete({192000, 96000, 88200}), discrete({88200, 192000, 96000})), 96000);
    EXPECT_EQ(resolve(discrete({8000, 16000}), {{8000, 20000}}), 16000);
}

TEST(SampleRateResolverTests, OtherwiseTheTopOfWhatTheyShare) {
    EXPECT_EQ(resolve({{44100, 48000}}, {{47000, 47500}}), 47500);
    EXPECT_EQ(resolve({{50000, 60000}}, {{50000, 60000}}), 60000);
    EXPECT_EQ(resolve({{50000, 51000}, {60000, 61000}}, {{60500, 70000}, {50500, 50600}}), 61000);
    EXPECT_EQ(resolve(discrete({11025}), discrete({11025, 12000})), 11025);
    EXPECT_EQ(resolve(discrete({44100}), discrete({48000})), std::nullopt);
    EXPECT_EQ(resolve({}, discrete({48000})), std::nullopt);
    EXPECT_EQ(resolve(discrete({48000}), {}, 48000), std::nullopt);
}

TEST(SampleRateResolverTests, SenselessRangesOfferNothing) {
    const SampleRateRanges wide{{1000, 200000}};
    EXPECT_EQ(resolve({{60000, 50000}}, wide), std::nullopt) << "reversed";
    EXPECT_EQ(resolve({{notANumber, 50000}}, wide), std::nullopt);
    EXPECT_EQ(resolve(wide, {{50000, notANumber}}), std::nullopt);
    EXPECT_EQ(resolve(wide, {{notANumber, notANumber}}, notANumber), std::nullopt);
    EXPECT_EQ(resolve({{300000, infinity}}, {{300000, infinity}}), std::nullopt);
    EXPECT_EQ(resolve({{0, infinity}}, {{0, infinity}}, infinity), 48000);
    EXPECT_EQ(resolve(discrete({0}), discrete({0}), 0), std::nullopt);
    EXPECT_EQ(resolve({{-50, -10}}, {{-50, -10}}), std::nullopt);
    EXPECT_EQ(resolve({{notANumber, 1}, {60000, 50000}, {47000, 47000}}, wide), 47000)
        << "the sound ones still count";
}

TEST(SampleRateResolverTests, FirstTwoOfManyFixTheRate) {
    const auto resolveAll = [](std::vector<SampleRateRanges> all, std::optional<double> preferred) {
        return SampleRateResolver::resolve(all, preferred);
    };
    const auto both = discrete({44100, 48000});
    EXPECT_EQ(resolveAll({}, 48000), std::nullopt);
    EXPECT_EQ(resolveAll({discrete({44100})}, 48000), 44100);
    EXPECT_EQ(resolveAll({both, both, discrete({44100})}, std::nullopt), std::nullopt);
    EXPECT_EQ(resolveAll({both, both, discrete({44100})}, 44100), 44100);
    EXPECT_EQ(resolveAll({both, discrete({44100}), both, {{40000, 50000}}}, 48000), 44100);
    EXPECT_EQ(resolveAll({{{50000, 60000}}, {{50000, 58000}}, {{57000, 59000}}}, std::nullopt), 58000);
}

} // namespace
} // namespace velto
