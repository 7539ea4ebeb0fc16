// Story: what was done to the outputs, when, and what is due on each of them.
//
// Written by whoever drives the story, read by the judge: the format is declared in Story.cpp, once. All
// times are in seconds from sample 0 of every recording.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velto::judge {

struct StoryOutput {
    std::string uid;
    std::string name;
    /// For the reader, such as "USB, 44.1 kHz".
    std::string kind;
    /// The file of what it was heard to play.
    std::string recording;
    friend bool operator==(const StoryOutput&, const StoryOutput&) = default;
};

struct StoryEvent {
    double time = 0;
    std::string label;
    friend bool operator==(const StoryEvent&, const StoryEvent&) = default;
};

/// An output that goes on playing while something happens to another.
struct Survivor {
    std::string uid;
    double event = 0;
    std::optional<std::int64_t> lostLimit = std::nullopt;
    friend bool operator==(const Survivor&, const Survivor&) = default;
};

/// An output that sounds again some time after it came back.
struct Returning {
    std::string uid;
    double event = 0;
    std::optional<double> limitMilliseconds = std::nullopt;
    friend bool operator==(const Returning&, const Returning&) = default;
};

/// A sync test: what sounds instead of the source.
struct Clicks {
    /// At full volume of the output.
    double peak = 0;
    /// From one click to the next, in samples.
    std::int64_t interval = 0;
    friend bool operator==(const Clicks&, const Clicks&) = default;
};

/// What the system had to report, and what it did report; absent for nothing.
template <class T>
struct Expectation {
    T expected;
    std::optional<T> actual;

    bool isMet() const { return actual == expected; }
    friend bool operator==(const Expectation&, const Expectation&) = default;
};

struct StoryStep {
    std::string name;
    std::string expected;
    /// The window that is judged.
    double from = 0;
    double to = 0;
    /// The outputs on which sound is due; silence is due on all others.
    std::vector<std::string> sound;
    /// Volumes at which outputs are due to play, as factors by UID.
    std::map<std::string, double> gains = {};
    /// Where sound is due, it's these clicks, at the same samples of all outputs.
    std::optional<Clicks> clicks = std::nullopt;
    std::optional<std::int64_t> skewLimit = std::nullopt;
    /// How much later than it plays an output is heard where the listener is, in milliseconds by UID. Skew is
    /// what the listener hears.
    std::map<std::string, double> lateness = {};
    /// How long the step's operation took.
    std::optional<double> milliseconds = std::nullopt;
    std::optional<double> limitMilliseconds = std::nullopt;
    std::optional<Survivor> survivor = std::nullopt;
    std::optional<Returning> returning = std::nullopt;
    std::optional<Expectation<std::string>> defaultOutput = std::nullopt;
    std::optional<Expectation<std::string>> alertOutput = std::nullopt;
    /// Whether there is a recovery record.
    std::optional<Expectation<bool>> record = std::nullopt;
    /// Why the step itself failed, as those who drove it say.
    std::optional<std::string> problem = std::nullopt;
    friend bool operator==(const StoryStep&, const StoryStep&) = default;
};

struct Story {
    /// The file of what was played.
    std::string source;
    std::vector<StoryOutput> outputs;
    std::vector<StoryEvent> events;
    std::vector<StoryStep> steps;
    friend bool operator==(const Story&, const Story&) = default;

    /// The place of the output in `outputs`; absent when there is none with that UID.
    std::optional<std::size_t> indexOf(const std::string& uid) const;
};

/// Reads a story; file names in it become relative to the current directory. Throws UnusableInput for what
/// contradicts itself, and for unknown keys: a misspelt limit must not go unchecked.
Story readStory(const std::string& file);

/// Writes it; file names in it are relative to the story's own folder. Throws std::runtime_error when it
/// can't.
void writeStory(Story story, const std::string& file);

/// Throws UnusableInput when something of the story lies outside of recordings of that length, in seconds.
void checkTimes(const Story& story, double duration);

} // namespace velto::judge
