#include "Tests/Judge/Studio.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <random>

namespace velto::judge {

namespace {

/// From 0 to 1; the standard's distributions differ between libraries.
float chance(std::minstd_rand& random) {
    return static_cast<float>(random() - std::minstd_rand::min()) /
           static_cast<float>(std::minstd_rand::max() - std::minstd_rand::min());
}

/// A syllable: a pitch with overtones, some breath, rising and falling.
void addSyllable(std::vector<Frame>& frames, std::size_t begin, std::size_t count, float Frame::* channel,
                 std::minstd_rand& random) {
    const float pitch = 90 + 160 * chance(random);
    const float loudness = 0.1f + 0.3f * chance(random);
    const std::array overtones{1.0f, chance(random), chance(random), chance(random), chance(random)};
    for (std::size_t i = 0; i < count && begin + i < frames.size(); ++i) {
        const float phase = 2 * std::numbers::pi_v<float> * pitch * static_cast<float>(i) / sampleRate;
        float value = 0.3f * (chance(random) - 0.5f);
        for (std::size_t k = 0; k < overtones.size(); ++k)
            value += overtones[k] * std::sin(phase * static_cast<float>(k + 1)) / 3;
        const float shape =
            std::sin(std::numbers::pi_v<float> * static_cast<float>(i) / static_cast<float>(count));
        frames[begin + i].*channel = loudness * shape * value;
    }
}

} // namespace

std::vector<Frame> speech(double seconds, std::uint32_t seed) {
    std::vector<Frame> frames(static_cast<std::size_t>(sampleAt(seconds)));
    std::minstd_rand random(seed);
    for (float Frame::* channel : {&Frame::left, &Frame::right}) {
        for (std::size_t begin = 0; begin < frames.size();) {
            const auto count = static_cast<std::size_t>((0.15f + 0.25f * chance(random)) * sampleRate);
            addSyllable(frames, begin, count, channel, random);
            begin += count + static_cast<std::size_t>(0.15f * chance(random) * sampleRate);
        }
    }
    return frames;
}

std::vector<Frame> noise(std::size_t count, std::uint32_t seed) {
    std::minstd_rand random(seed);
    std::vector<Frame> frames(count);
    for (Frame& frame : frames)
        frame = {2 * chance(random) - 1, 2 * chance(random) - 1};
    return frames;
}

Studio::Studio(std::vector<Frame> played)
    : source(std::move(played)),
      recordings(3, std::vector<Frame>(static_cast<std::size_t>(sampleAt(duration)))) {}

void Studio::play(Output output, double from, double to, std::int64_t later, float volume) {
    const SampleRange range{sampleAt(from), sampleAt(to)};
    std::ranges::transform(
        source.due(range, playerLag + later), samples(output, from, to).begin(),
        [volume](const Frame& frame) { return Frame{volume * frame.left, volume * frame.right}; });
}

std::span<Frame> Studio::samples(Output output, double from, double to) {
    return std::span(recordings[output])
        .subspan(static_cast<std::size_t>(sampleAt(from)),
                 static_cast<std::size_t>(sampleAt(to) - sampleAt(from)));
}

std::string Studio::uid(Output output) { return std::array{"desk", "usb", "display"}[output]; }

StoryStep Studio::step(std::vector<Output> sound) {
    StoryStep step{.name = "a step", .expected = "what is due", .from = 1, .to = 3, .sound = {}};
    for (const Output output : sound)
        step.sound.push_back(uid(output));
    return step;
}

StepJudgement Studio::judge(const StoryStep& step) const { return judge(std::vector{step}).front(); }

std::vector<StepJudgement> Studio::judge(const std::vector<StoryStep>& steps) const {
    return judgeStory(material(steps).story, source, recordings);
}

Material Studio::material(std::vector<StoryStep> steps) const {
    Story story{.source = "source.wav",
                .outputs = {{uid(desk), "Desk", "Built-in", "desk.wav"},
                            {uid(usb), "USB", "USB", "usb.wav"},
                            {uid(display), "Display", "HDMI", "display.wav"}},
                .events = {{.time = 1, .label = "Play Together"}},
                .steps = std::move(steps)};
    return {std::move(story), source, recordings};
}

} // namespace velto::judge
