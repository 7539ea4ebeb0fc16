#include "Tests/Support/RandomStory.h"

#include "Tests/Support/Shrinking.h"
#include "Tests/Support/StoryTeller.h"

#include <array>
#include <exception>
#include <random>
#include <string_view>
#include <utility>

namespace velto {

namespace {

constexpr std::array<std::string_view, actCount> actNames{"play",
                                                          "stop",
                                                          "activate",
                                                          "savePreset",
                                                          "reset",
                                                          "dismiss",
                                                          "reconnect",
                                                          "answer",
                                                          "setPreference",
                                                          "setVolume",
                                                          "setDelay",
                                                          "volumeChanges",
                                                          "plugOrUnplug",
                                                          "replugAsAnother",
                                                          "pickDefault",
                                                          "pickAlertOutput",
                                                          "deviceChanges",
                                                          "driverGivesUp",
                                                          "removeAggregate",
                                                          "loseDelays",
                                                          "restartAudioService",
                                                          "loseAudioService",
                                                          "wake",
                                                          "wait",
                                                          "failCall",
                                                          "failLater",
                                                          "worldGetsSlow",
                                                          "worldGetsOdd",
                                                          "aggregateMisbehaves",
                                                          "deviceGetsUnreadable",
                                                          "diskFills",
                                                          "crash",
                                                          "quit"};

} // namespace

std::string text(const Step& step) {
    return std::string(actNames.at(static_cast<std::size_t>(step.act))) + '(' + std::to_string(step.which) +
           ", " + std::to_string(step.other) + ')' +
           (step.turns ? " and " + std::to_string(*step.turns) + " turns" : "");
}

std::vector<Step> randomStory(std::uint64_t seed, std::size_t length) {
    std::mt19937_64 random(seed);
    // Not by the library's distributions: each library has its own.
    const auto upTo = [&random](int count) {
        return static_cast<int>(random() % static_cast<std::uint64_t>(count));
    };
    // Most of the time two outputs are to play, and their cables to be pulled.
    constexpr std::array usual{Act::play, Act::plugOrUnplug, Act::pickDefault, Act::activate};
    std::vector<Step> story;
    while (story.size() < length) {
        const Act act = upTo(7) < 3 ? usual.at(static_cast<std::size_t>(upTo(usual.size())))
                                    : static_cast<Act>(upTo(actCount));
        const auto turns = upTo(3) < 2 ? std::nullopt : std::optional(upTo(12));
        story.push_back({act, upTo(60), upTo(60), turns});
    }
    return story;
}

std::optional<std::string> faultOf(const std::vector<Step>& story) {
    std::size_t taken = 0;
    try {
        StoryTeller teller;
        for (; taken < story.size(); ++taken)
            teller.take(story[taken]);
        teller.end();
        return std::nullopt;
    } catch (const std::exception& error) {
        const std::string when =
            taken < story.size() ? "after step " + std::to_string(taken + 1) : "at the end";
        return when + ": " + error.what();
    }
}

std::vector<Step> shortened(std::vector<Step> story) {
    const auto fails = [](const std::vector<Step>& part) { return faultOf(part).has_value(); };
    return shrunk<Step>(std::move(story), fails, [](const Step& step) {
        return std::vector<Step>{{step.act, step.which, step.other, std::nullopt},
                                 {step.act, 0, step.other, step.turns},
                                 {step.act, step.which, 0, step.turns}};
    });
}

} // namespace velto
