// RandomStory: what users, cables, other programs and failing calls do to a program as chance has it.
//
// A story is a list of steps, made from a seed. It is played on a machine of its own, in virtual time, and
// goes the same way each time: after every quiet point the invariants hold.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velto {

/// What can happen: what the user does, then what the world does, then what breaks.
enum class Act {
    play,
    stop,
    activate,
    savePreset,
    reset,
    dismiss,
    reconnect,
    answer,
    setPreference,
    setVolume,
    setDelay,
    volumeChanges,
    plugOrUnplug,
    replugAsAnother,
    pickDefault,
    pickAlertOutput,
    deviceChanges,
    driverGivesUp,
    removeAggregate,
    loseDelays,
    restartAudioService,
    loseAudioService,
    wake,
    wait,
    failCall,
    failLater,
    worldGetsSlow,
    worldGetsOdd,
    aggregateMisbehaves,
    deviceGetsUnreadable,
    diskFills,
    crash,
    quit,
};
inline constexpr int actCount = static_cast<int>(Act::quit) + 1;

struct Step {
    Act act;
    int which;
    int other;
    /// Turns of the main loop before the next step; none: until nothing is left to do.
    std::optional<int> turns;
};

std::string text(const Step& step);
std::vector<Step> randomStory(std::uint64_t seed, std::size_t length);
/// What goes wrong, and when; none when every invariant holds to the end.
std::optional<std::string> faultOf(const std::vector<Step>& story);
/// As little of a story that has a fault as is found to have one still.
std::vector<Step> shortened(std::vector<Step> story);

} // namespace velto
