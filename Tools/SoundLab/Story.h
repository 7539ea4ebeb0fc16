// Story: what was played and what should have been heard, for the judge.
//
// Times are seconds on the recorder's timeline.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velto {

struct StoryOutput {
    std::string uid;
    std::string name;
    std::string kind;
};

/// Expected and found.
template <class T>
struct Compared {
    T expected;
    T actual;
};

struct StoryStep {
    std::string name;
    std::string expected;
    /// The window in which it is judged what was heard.
    double from = 0;
    double to = 0;
    /// Outputs where sound is due; silence is due on all others.
    std::vector<std::string> sound;
    /// Volumes at which outputs are due to play, as factors by UID.
    std::map<std::string, double> gains;
    struct Clicks {
        double peak;
        int intervalSamples;
    };
    /// What sounds instead of the source.
    std::optional<Clicks> clicks;
    std::optional<int> skewLimitSamples;
    /// How long the operation took, and may take.
    std::optional<double> milliseconds;
    std::optional<double> limitMilliseconds;

    struct Survivor {
        std::string uid;
        double event;
        int lostLimitSamples;
    };
    std::optional<Survivor> survivor;
    struct Returned {
        std::string uid;
        double event;
        double limitMilliseconds;
    };
    std::optional<Returned> returned;

    std::optional<Compared<std::string>> defaultOutput;
    std::optional<Compared<std::string>> alertOutput;
    std::optional<Compared<bool>> record;
    /// Why the step failed before anything was heard; empty when it didn't.
    std::string problem;
};

struct Story {
    struct Event {
        double time;
        std::string label;
    };
    std::string source;
    std::vector<StoryOutput> outputs;
    std::vector<Event> events;
    std::vector<StoryStep> steps;

    /// Throws std::runtime_error when the file can't be written.
    void write(const std::filesystem::path& file, int sampleRate) const;
};

/// The name of an output's recording beside the story.
std::string recordingName(const StoryOutput& output);

} // namespace velto
