#include "Tools/Judge/ClickRow.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>

namespace velto::judge {

namespace {

constexpr double clickSeconds = 0.012;
constexpr double tone = 1000;
constexpr double decay = 400; // a second
constexpr auto clickLength = static_cast<std::int64_t>(clickSeconds * sampleRate);

/// What is less is silence. A copy of a click may differ from it by ten times as much.
constexpr float silentAmplitude = 1e-6f;
constexpr double tolerance = 1e-5;
/// A tone crosses zero for less long than this.
constexpr std::int64_t shortestSilence = sampleRate / 1000;

/// A sound between silences. A click's first sample is a zero: it counts as the sound's.
struct Sound {
    SampleRange range;
    float highest = 0;
};

float amplitudeOf(const Frame& frame) { return std::max(std::abs(frame.left), std::abs(frame.right)); }

std::vector<Sound> soundsIn(Frames recording, SampleRange range) {
    std::vector<Sound> sounds;
    for (std::int64_t sample = range.begin; sample < range.end; ++sample) {
        const float amplitude = amplitudeOf(recording[static_cast<std::size_t>(sample)]);
        if (amplitude <= silentAmplitude) continue;
        if (sounds.empty() || sample - sounds.back().range.end >= shortestSilence)
            sounds.push_back({{sample - 1, sample}});
        sounds.back().range.end = sample + 1;
        sounds.back().highest = std::max(sounds.back().highest, amplitude);
    }
    return sounds;
}

bool isClick(const ClickTrack& track, SampleRange range) {
    if (range.begin < 0 || range.count() != clickLength) return false;
    for (std::int64_t i = 0; i < clickLength; ++i) {
        const double time = static_cast<double>(i) / sampleRate;
        const double due =
            track.peak * std::sin(2 * std::numbers::pi * tone * time) * std::exp(-decay * time);
        const Frame& heard = track.recording[static_cast<std::size_t>(range.begin + i)];
        if (std::abs(heard.left - due) > tolerance || std::abs(heard.right - due) > tolerance) return false;
    }
    return true;
}

/// A sound that is no click is kept: it interrupts a row.
struct Heard {
    std::int64_t begin;
    bool isClick;
};

std::vector<Heard> heardIn(const ClickTrack& track, SampleRange range) {
    std::vector<Heard> heard;
    for (const Sound& sound : soundsIn(track.recording, range))
        heard.push_back({sound.range.begin, isClick(track, sound.range)});
    return heard;
}

/// Clicks at the same samples of both; all else of either interrupts.
std::vector<Heard> inCommon(const std::vector<Heard>& one, const std::vector<Heard>& other) {
    std::vector<Heard> all;
    std::ranges::merge(one, other, std::back_inserter(all), {}, &Heard::begin, &Heard::begin);
    std::vector<Heard> result;
    for (std::size_t i = 0; i < all.size(); ++i) {
        const bool isPair = i + 1 < all.size() && all[i + 1].begin == all[i].begin;
        result.push_back({all[i].begin, isPair && all[i].isClick && all[i + 1].isClick});
        if (isPair) ++i;
    }
    return result;
}

} // namespace

ClickRow longestClickRow(const std::vector<ClickTrack>& tracks, SampleRange range, std::int64_t interval) {
    if (tracks.empty()) return {};
    std::vector<Heard> heard = heardIn(tracks.front(), range);
    for (std::size_t i = 1; i < tracks.size(); ++i)
        heard = inCommon(heard, heardIn(tracks[i], range));
    ClickRow longest, row;
    for (const Heard& sound : heard) {
        const bool follows = row.count > 0 && sound.begin == row.begin + row.count * interval;
        if (!follows) row = {.begin = sound.begin, .count = 0};
        row.count = sound.isClick ? row.count + 1 : 0;
        if (row.count > longest.count) longest = row;
    }
    return longest;
}

std::string describeClicks(Frames recording, SampleRange range) {
    const std::vector<Sound> sounds = soundsIn(recording, range);
    if (sounds.empty()) return "silence is heard";
    const Sound& middle = sounds[sounds.size() / 2];
    std::string text =
        fmt::format("{} sounds are heard, such as one of {} samples with an amplitude of {:.3f}",
                    sounds.size(), middle.range.count(), middle.highest);
    if (sounds.size() > 1)
        text += fmt::format(", {} samples after the one before",
                            middle.range.begin - sounds[sounds.size() / 2 - 1].range.begin);
    return text;
}

} // namespace velto::judge
