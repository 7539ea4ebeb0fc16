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

namespace {

/// Less can't be compared with anything.
constexpr double shortestWindow = 0.1;

StoryOutput readOutput(StoryFields& fields, const std::filesystem::path& folder) {
    return {.uid = fields.text("uid"),
            .name = fields.text("name"),
            .kind = fields.text("kind"),
            .recording = (folder / fields.text("recording")).string()};
}

StoryEvent readEvent(StoryFields& fields) {
    return {.time = fields.number("time"), .label = fields.text("label")};
}

std::optional<Survivor> readSurvivor(StoryFields& fields) {
    auto uid = fields.optionalText("survivor");
    const auto event = fields.optionalNumber("survivorEvent");
    const auto limit = fields.optionalCount("lostLimitSamples");
    if (!uid && (event || limit)) fields.fail("\"survivor\" is missing");
    if (!uid) return std::nullopt;
    if (!event) fields.fail("\"survivorEvent\" is missing");
    return Survivor{.uid = std::move(*uid), .event = *event, .lostLimit = limit};
}

std::optional<Returning> readReturning(StoryFields& fields) {
    auto uid = fields.optionalText("returned");
    const auto event = fields.optionalNumber("returnedEvent");
    const auto limit = fields.optionalNumber("returnedLimitMilliseconds");
    if (!uid && (event || limit)) fields.fail("\"returned\" is missing");
    if (!uid) return std::nullopt;
    if (!event) fields.fail("\"returnedEvent\" is missing");
    return Returning{.uid = std::move(*uid), .event = *event, .limitMilliseconds = limit};
}

std::optional<Clicks> readClicks(StoryFields& fields) {
    const auto peak = fields.optionalNumber("clickPeak");
    const auto interval = fields.optionalCount("clickIntervalSamples");
    if (!peak && !interval) return std::nullopt;
    if (!peak) fields.fail("\"clickPeak\" is missing");
    if (!interval) fields.fail("\"clickIntervalSamples\" is missing");
    return Clicks{.peak = *peak, .interval = *interval};
}

template <class T>
std::optional<Expectation<T>> expectation(std::optional<T> expected, std::optional<T> actual) {
    if (!expected) return std::nullopt;
    return Expectation<T>{.expected = std::move(*expected), .actual = std::move(actual)};
}

StoryStep readStep(StoryFields& fields) {
    return {.name = fields.text("name"),
            .expected = fields.text("expected"),
            .from = fields.number("from"),
            .to = fields.number("to"),
            .sound = fields.texts("sound"),
            .gains = fields.optionalNumbers("gains"),
            .clicks = readClicks(fields),
            .skewLimit = fields.optionalCount("skewLimitSamples"),
            .milliseconds = fields.optionalNumber("milliseconds"),
            .limitMilliseconds = fields.optionalNumber("limitMilliseconds"),
            .survivor = readSurvivor(fields),
            .returning = readReturning(fields),
            .defaultOutput =
                expectation(fields.optionalText("defaultExpected"), fields.optionalText("defaultActual")),
            .alertOutput =
                expectation(fields.optionalText("alertExpected"), fields.optionalText("alertActual")),
            .record =
                expectation(fields.optionalBoolean("recordExpected"), fields.optionalBoolean("recordActual")),
            .problem = fields.optionalText("problem")};
}

void checkOutputs(const Story& story, const StoryFields& fields) {
    if (story.outputs.empty()) fields.fail("there are no outputs");
    std::set<std::string> seen;
    for (const StoryOutput& output : story.outputs) {
        if (!seen.insert(output.uid).second)
            fields.fail(fmt::format("two outputs have the UID {}", output.uid));
    }
}

void checkStep(const Story& story, const StoryStep& step, const StoryFields& fields) {
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
        fields.fail("\"returnedEvent\" is not before the end of the window");
}

json parse(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) throw UnusableInput(fmt::format("{} can't be opened.", file));
    json parsed = json::parse(stream, nullptr, false);
    if (stream.bad()) throw UnusableInput(fmt::format("{} can't be read.", file));
    if (parsed.is_discarded()) throw UnusableInput(fmt::format("{} is not JSON.", file));
    return parsed;
}

/// Calls `read` with each object of the list.
void forEach(StoryFields& fields, const std::string& file, const char* key, const char* what, auto read) {
    int number = 0;
    for (const json& element : fields.array(key)) {
        StoryFields object(element, fmt::format("{}, {} {}", file, what, ++number));
        read(object);
        object.finish();
    }
}

} // namespace

std::optional<std::size_t> Story::indexOf(const std::string& uid) const {
    const auto found = std::ranges::find(outputs, uid, &StoryOutput::uid);
    if (found == outputs.end()) return std::nullopt;
    return static_cast<std::size_t>(found - outputs.begin());
}

Story readStory(const std::string& file) {
    const json parsed = parse(file);
    const std::filesystem::path folder = std::filesystem::path(file).parent_path();
    StoryFields fields(parsed, file);
    if (fields.count("sampleRate") != sampleRate)
        fields.fail(fmt::format("\"sampleRate\" must be {}", sampleRate));
    Story story;
    story.source = (folder / fields.text("source")).string();
    forEach(fields, file, "outputs", "output",
            [&](StoryFields& object) { story.outputs.push_back(readOutput(object, folder)); });
    checkOutputs(story, fields);
    forEach(fields, file, "events", "event",
            [&](StoryFields& object) { story.events.push_back(readEvent(object)); });
    forEach(fields, file, "steps", "step", [&](StoryFields& object) {
        story.steps.push_back(readStep(object));
        checkStep(story, story.steps.back(), object);
    });
    if (story.steps.empty()) fields.fail("there are no steps to be judged");
    fields.finish();
    return story;
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
