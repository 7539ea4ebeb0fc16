// Studio: makes up a source that is like speech, and recordings of outputs that played it, with any fault.
//
// A fresh studio has recorded silence on three outputs. Tests play, spoil what was played, and judge a step.
#pragma once

#include "Tools/Judge/Material.h"
#include "Tools/Judge/StepJudgement.h"

#include <cstdint>
#include <string>
#include <vector>

namespace velto::judge {

/// Syllables of differing pitch, strength and length with pauses between, other ones on the right than on the
/// left. The same seed speaks the same.
std::vector<Frame> speech(double seconds, std::uint32_t seed);
/// White noise with an amplitude of up to 1.
std::vector<Frame> noise(std::size_t count, std::uint32_t seed);

class Studio {
  public:
    enum Output : std::size_t { desk, usb, display };
    static constexpr double duration = 8;
    /// When the player began, in samples.
    static constexpr std::int64_t playerLag = 12345;

    Studio() : Studio(speech(10, 1)) {}
    explicit Studio(std::vector<Frame> played);

    /// The output carries the source between those times, so many samples later than the player's lag.
    void play(Output output, double from, double to, std::int64_t later = 0, float volume = 1);
    std::vector<Frame>& recording(Output output) { return recordings[output]; }
    /// The samples of a recording between those times.
    std::span<Frame> samples(Output output, double from, double to);

    static std::string uid(Output output);
    /// A step from 1 s to 3 s.
    static StoryStep step(std::vector<Output> sound);
    StepJudgement judge(const StoryStep& step) const;
    std::vector<StepJudgement> judge(const std::vector<StoryStep>& steps) const;
    Material material(std::vector<StoryStep> steps) const;

    Source source;
    std::vector<std::vector<Frame>> recordings;
};

} // namespace velto::judge
