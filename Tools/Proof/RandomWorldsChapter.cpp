#include "Tools/Proof/Proof.h"

#include "Tests/Support/RandomStory.h"

#include <algorithm>
#include <array>
#include <utility>

namespace velto {

namespace {

/// Enough to see what is wrong.
constexpr int toldFailures = 5;

std::string told(std::uint64_t seed, std::vector<Step> story) {
    const std::size_t length = story.size();
    story = shortened(std::move(story));
    std::string text = "seed " + std::to_string(seed) + ", " + std::to_string(story.size()) + " of " +
                       std::to_string(length) + " steps:\n";
    for (const Step& step : story)
        text += "  " + velto::text(step) + "\n";
    return text + faultOf(story).value_or("");
}

} // namespace

void playRandomWorlds(Proof& proof) {
    const int stories = proof.times(10'000, 1'000'000);
    std::int64_t events = 0;
    int failures = 0;
    std::array<std::int64_t, actCount> acts{};
    for (int i = 0; i < stories; ++i) {
        // The seed of one that fails, given to the proof, has it played first.
        const std::uint64_t seed = proof.seed + static_cast<std::uint64_t>(i);
        const auto story = randomStory(seed, 50 + seed % 11);
        events += static_cast<std::int64_t>(story.size());
        for (const Step& step : story)
            ++acts.at(static_cast<std::size_t>(step.act));
        if (!faultOf(story)) continue;
        if (++failures <= toldFailures) proof.report.addViolation(told(seed, story));
    }
    proof.report.add({"events", std::to_string(events) + " of " + std::to_string(actCount) + " kinds"});
    proof.report.add({"the rarest kind", std::to_string(*std::ranges::min_element(acts)) + " times"});
    proof.addCount("sequences that break an invariant", failures, std::to_string(stories));
}

} // namespace velto
