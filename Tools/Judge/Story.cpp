#include "Tools/Judge/Story.h"

#include "Tools/Judge/Continuity.h"
#include "Tools/Judge/Sound.h"
#include "Tools/Judge/StoryFields.h"
#include "Tools/Judge/UnusableInput.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>

namespace velto::judge {

using nlohmann::json;

// The format. A reader and a writer find these where their types are.

template <class Fields>
static void describe(Fields& fields, StoryOutput& output) {
    fields("uid", output.uid);
    fields("name", output.name);
    fields("kind", output.kind);
    fields("recording", output.recording);
}

template <class Fields>
static void describe(Fields& fields, StoryEvent& event) {
    fields("time", event.time);
    fields("label", event.label);
}

template <class Fields>
static void describe(Fields& fields, Survivor& survivor) {
    fields("uid", survivor.uid);
    fields("event", survivor.event);
    fields("lostLimitSamples", survivor.lostLimit);
}

template <class Fields>
static void describe(Fields& fields, Returning& returning) {
    fields("uid", returning.uid);
    fields("event", returning.event);
    fields("limitMilliseconds", returning.limitMilliseconds);
}

template <class Fields>
static void describe(Fields& fields, Clicks& clicks) {
    fields("peak", clicks.peak);
    fields("intervalSamples", clicks.interval);
}

template <class Fields, class T>
static void describe(Fields& fields, Expectation<T>& expectation) {
    fields("expected", expectation.expected);
    fields("actual", expectation.actual);
}

template <class Fields>
static void describe(Fields& fields, StoryStep& step) {
    fields("name", step.name);
    fields("expected", step.expected);
    fields("from", step.from);
    fields("to", step.to);
    fields("sound", step.sound);
    fields("gains", step.gains);
    fields("clicks", step.clicks);
    fields("skewLimitSamples", step.skewLimit);
    fields("latenessMilliseconds", step.lateness);
    fields("milliseconds", step.milliseconds);
    fields("limitMilliseconds", step.limitMilliseconds);
    fields("survivor", step.survivor);
    fields("returned", step.returning);
    fields("default", step.defaultOutput);
    fields("alert", step.alertOutput);
    fields("record", step.record);
    fields("problem", step.problem);
}

/// The file's first key, so that samples are counted alike.
struct StoryFile {
    std::int64_t sampleRate;
    Story& story;
};

template <class Fields>
static void describe(Fields& fields, StoryFile& file) {
    fields("sampleRate", file.sampleRate);
    fields("source", file.story.source);
    fields("outputs", file.story.outputs);
    fields("events", file.story.events);
    fields("steps", file.story.steps);
}

namespace {

/// Less can't be compared with anything.
constexpr double shortestWindow = 0.1;

void checkOutputs(const Story& story, const StoryReader& fields) {
    if (story.outputs.empty()) fields.fail("there are no outputs");
    std::set<std::string> seen;
    for (const StoryOutput& output : story.outputs) {
        if (!seen.insert(output.uid).second)
            fields.fail(fmt::format("two outputs have the UID {}", output.uid));
    }
}

void checkStep(const Story& story, const StoryStep& step, const StoryReader& fields) {
    const auto checkUID = [&](const std::string& uid) {
        if (!story.indexOf(uid)) fields.fail(fmt::format("no output has the UID {}", uid));
    };
    std::ranges::for_each(step.sound, checkUID);
    if (std::set(step.sound.begin(), step.sound.end()).size() != step.sound.size())
        fields.fail("\"sound\" names an output twice");
    for (const auto& [uid, gain] : step.gains) {
        checkUID(uid);
        if (std::ranges::find(step.sound, uid) == step.sound.end())
            fields.fail("\"gains\" names an output on which no sound is due");
    }
    for (const auto& entry : step.lateness)
        checkUID(entry.first);
    if (step.clicks && step.sound.empty()) fields.fail("clicks need an output with sound");
    if (step.clicks && (step.survivor || step.returning))
        fields.fail("clicks tell nothing of a loss or a return");
    if (step.to - step.from < shortestWindow)
        fields.fail(fmt::format("from {} to {} s is too short to be judged", step.from, step.to));
    if (step.skewLimit && step.sound.size() < 2) fields.fail("skew needs two outputs with sound");
    if (step.survivor) checkUID(step.survivor->uid);
    if (!step.returning) return;
    checkUID(step.returning->uid);
    if (std::ranges::find(step.sound, step.returning->uid) == step.sound.end())
        fields.fail("\"returned\" is an output on which no sound is due");
    if (step.returning->event > step.to - shortestWindow)
        fields.fail("\"returned\" is not before the end of the window");
}

json parse(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) throw UnusableInput(fmt::format("{} can't be opened.", file));
    json parsed = json::parse(stream, nullptr, false);
    if (stream.bad()) throw UnusableInput(fmt::format("{} can't be read.", file));
    if (parsed.is_discarded()) throw UnusableInput(fmt::format("{} is not JSON.", file));
    return parsed;
}

} // namespace

std::optional<std::size_t> Story::indexOf(const std::string& uid) const {
    const auto found = std::ranges::find(outputs, uid, &StoryOutput::uid);
    if (found == outputs.end()) return std::nullopt;
    return static_cast<std::size_t>(found - outputs.begin());
}

Story readStory(const std::string& file) {
    const json parsed = parse(file);
    Story story;
    StoryFile content{0, story};
    StoryReader fields(parsed, file);
    describe(fields, content);
    fields.finish();
    if (content.sampleRate != sampleRate) fields.fail(fmt::format("\"sampleRate\" must be {}", sampleRate));
    checkOutputs(story, fields);
    if (story.steps.empty()) fields.fail("there are no steps to be judged");
    for (std::size_t i = 0; i < story.steps.size(); ++i)
        checkStep(story, story.steps[i],
                  StoryReader(json::object(), fmt::format("{}, step {}", file, i + 1)));
    const std::filesystem::path folder = std::filesystem::path(file).parent_path();
    story.source = (folder / story.source).string();
    for (StoryOutput& output : story.outputs)
        output.recording = (folder / output.recording).string();
    return story;
}

void writeStory(Story story, const std::string& file) {
    StoryFile content{sampleRate, story};
    std::ofstream stream(file);
    stream << StoryWriter::text(content);
    if (!stream.flush()) throw std::runtime_error("The story can't be written to " + file);
}

void checkTimes(const Story& story, double duration) {
    const auto check = [duration](double from, double to, std::string what) {
        if (from < 0 || to > duration)
            throw UnusableInput(
                fmt::format("{}, {:.3f} to {:.3f} s, is outside of the recordings, which last {:.3f} s.",
                            what, from, to, duration));
    };
    for (const StoryEvent& event : story.events)
        check(event.time, event.time, fmt::format("The event \"{}\"", event.label));
    for (const StoryStep& step : story.steps) {
        check(step.from, step.to, fmt::format("The window of the step \"{}\"", step.name));
        if (const auto& survivor = step.survivor)
            check(survivor->event - secondsBeforeEvent, survivor->event + secondsAfterEvent,
                  fmt::format("What is looked at around the survivor's event of the step \"{}\"", step.name));
        if (const auto& returning = step.returning)
            check(returning->event, returning->event,
                  fmt::format("The return in the step \"{}\"", step.name));
    }
}

} // namespace velto::judge
