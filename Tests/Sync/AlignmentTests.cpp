#include "Simulation/VirtualRoom.h"
#include "VeltoCore/Sync/AlignmentAnalysis.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <limits>
#include <vector>

namespace velto {
namespace {

using Sweep = AlignmentProbe::Sweep;
using Recording = std::vector<float>;
using enum AlignmentRefusal;

VirtualRoom kitchen() {
    VirtualRoom room;
    room.outputs[0].milliseconds = 20.3;
    room.outputs[1].milliseconds = 203.71;
    room.reverberationSeconds = 0.4;
    room.directToReverberant = 3;
    room.noise = 0.001;
    return room;
}

Recording recorded(const VirtualRoom& room, const AlignmentProbe& probe) {
    return room.recording({probe.samples(Sweep::rising), probe.samples(Sweep::falling)}, probe.sampleRate,
                          static_cast<std::size_t>(2.5 * probe.sampleRate));
}

void erase(Recording& recording, std::ptrdiff_t from, std::ptrdiff_t count) {
    recording.erase(recording.begin() + from, recording.begin() + from + count);
}

TEST(AlignmentTests, TheSweepsAreEachOtherReversedAndStartAndEndSoftly) {
    for (const double rate : {44100.0, 48000.0, 96000.0}) {
        const AlignmentProbe probe{.sampleRate = rate};
        auto rising = probe.samples(Sweep::rising);
        double highest = 0;
        for (std::size_t i = 0; i < rising.size(); ++i) {
            const double fromTheEnd = static_cast<double>(std::min(i, rising.size() - 1 - i)) / rate;
            EXPECT_LE(std::abs(rising[i]), std::min(0.25, 0.001 + fromTheEnd * 20)) << i;
            highest = std::max(highest, static_cast<double>(rising[i]));
        }
        EXPECT_GT(highest, 0.2499);
        std::ranges::reverse(rising);
        EXPECT_EQ(rising, probe.samples(Sweep::falling));
        EXPECT_EQ(probe.sample(Sweep::rising, rising.size()), 0);
    }
}

TEST(AlignmentTests, WhatIsAnsweredIsRightInBadRooms) {
    const struct {
        const char* what;
        std::function<void(VirtualRoom&, AlignmentProbe&)> make;
    } cases[] = {
        {"44,100 Hz", [](auto&, auto& probe) { probe.sampleRate = 44100; }},
        {"24,000 Hz", [](auto&, auto& probe) { probe.sampleRate = 24000; }},
        {"96,000 Hz", [](auto&, auto& probe) { probe.sampleRate = 96000; }},
        {"in step", [](auto& room, auto&) { room.outputs[0].milliseconds = 203.71; }},
        {"far away in a hall", [](auto& room, auto&) { room.directToReverberant = -6; }},
        {"15 dB quieter",
         [](auto& room, auto&) {
             room.outputs[1].gain = 0.178;
             room.directToReverberant = -6;
         }},
        {"a table louder than the direct sound",
         [](auto& room, auto&) {
             room.outputs[1].reflectionGain = 2.5;
             room.outputs[1].reflectionMilliseconds = 0.7;
         }},
        {"noise as loud as the sweep", [](auto& room, auto&) { room.noise = 0.177; }},
        {"a hum", [](auto& room, auto&) { room.hum = 0.3; }},
        {"music as loud", [](auto& room, auto&) { room.music = 0.177; }},
    };
    for (const auto& [what, make] : cases) {
        VirtualRoom room = kitchen();
        AlignmentProbe probe;
        make(room, probe);
        const auto found = alignment(probe, recorded(room, probe));
        ASSERT_TRUE(found) << what << ": refused with " << static_cast<int>(found.error());
        EXPECT_NEAR(found->rising.milliseconds, room.outputs[0].milliseconds, 0.025) << what;
        EXPECT_NEAR(found->falling.milliseconds, room.outputs[1].milliseconds, 0.025) << what;
    }
}

TEST(AlignmentTests, WhatCannotBeToldIsRefused) {
    const std::function<void(VirtualRoom&)> unchanged;
    const Recording good = recorded(kitchen(), {});
    const struct {
        const char* what;
        AlignmentRefusal refusal;
        std::function<void(VirtualRoom&)> make;
        std::function<void(Recording&)> damage;
    } cases[] = {
        {"a muted microphone", tooQuiet, unchanged, [](auto& samples) { std::ranges::fill(samples, 0.0F); }},
        {"nothing played in a quiet room",
         tooQuiet,
         [](auto& room) {
             room.outputs[0].gain = room.outputs[1].gain = 0;
             room.noise = 0.0003;
         },
         {}},
        {"far too noisy",
         tooNoisy,
         [](auto& room) {
             room.noise = 5;
             room.ceiling = 99;
         },
         {}},
        {"overdriven", clipped, [](auto& room) { room.ceiling = 0.3; }, {}},
        {"overdriven and turned down", clipped, [](auto& room) { room.ceiling = 0.05; }, {}},
        {"the first is off", risingNotHeard, [](auto& room) { room.outputs[0].gain = 0; }, {}},
        {"the second is off", fallingNotHeard, [](auto& room) { room.outputs[1].gain = 0; }, {}},
        {"not a number", interrupted, unchanged,
         [](auto& samples) { samples[70000] = std::numeric_limits<float>::quiet_NaN(); }},
        {"too short for a sweep", interrupted, unchanged, [](auto& samples) { samples.resize(40000); }},
        {"ends before the second sweep", interrupted, unchanged,
         [](auto& samples) { samples.resize(54000); }},
        {"starts after the first sweep", interrupted, unchanged,
         [](auto& samples) { erase(samples, 0, 4800); }},
        {"nothing", interrupted, unchanged, [](auto& samples) { samples.clear(); }},
        {"64 samples missing", unclear, unchanged, [](auto& samples) { erase(samples, 28800, 64); }},
        {"1,024 samples missing", unclear, unchanged, [](auto& samples) { erase(samples, 43200, 1024); }},
    };
    for (const auto& [what, refusal, make, damage] : cases) {
        VirtualRoom room = kitchen();
        if (make) make(room);
        Recording recording = make ? recorded(room, {}) : good;
        if (damage) damage(recording);
        const auto found = alignment({}, recording);
        ASSERT_FALSE(found) << what << ": " << found->milliseconds();
        EXPECT_EQ(found.error(), refusal) << what;
    }
}

TEST(AlignmentTests, WhereverSamplesAreMissingAnAnswerIsRight) {
    const Recording good = recorded(kitchen(), {});
    for (std::ptrdiff_t from = 3000; from < 60000; from += 9100) {
        Recording recording = good;
        erase(recording, from, 256);
        const auto found = alignment({}, recording);
        if (found) EXPECT_NEAR(found->milliseconds(), 203.71 - 20.3, 0.3) << from;
    }
}

TEST(AlignmentTests, ASecondMeasurementTellsWhatIsLeftOrContradicts) {
    const AlignmentMeasurement first{{20, 100}, {203.4, 100}};
    const auto second = [](double rising, double falling) {
        return AlignmentMeasurement{{rising, 100}, {falling, 100}};
    };
    EXPECT_NEAR(remainder(first, second(210, 210.2), -183.4).value(), 0.2, 1e-9);
    EXPECT_NEAR(remainder(first, second(210, 209.1), -183.4).value(), -0.9, 1e-9);
    EXPECT_EQ(remainder(first, second(210, 211.1), -183.4).error(), implausible);
    EXPECT_EQ(remainder(first, second(20, 203.4), -183.4).error(), implausible) << "the delay wasn't applied";
    EXPECT_EQ(remainder(first, second(20, std::nan("")), 0).error(), implausible);
}

} // namespace
} // namespace velto
