#include "Tools/SoundLab/Story.h"

#include <nlohmann/json.hpp>

#include <fstream>
#include <stdexcept>

namespace velto {

using nlohmann::json;

namespace {

template <class T>
void addCompared(json& object, const std::string& name, const std::optional<Compared<T>>& both) {
    if (!both) return;
    object[name + "Expected"] = both->expected;
    object[name + "Actual"] = both->actual;
}

json encoded(const StoryStep& step) {
    json object = {{"name", step.name},
                   {"expected", step.expected},
                   {"from", step.from},
                   {"to", step.to},
                   {"sound", step.sound}};
    if (!step.gains.empty()) object["gains"] = step.gains;
    if (step.clicks) {
        object["clickPeak"] = step.clicks->peak;
        object["clickIntervalSamples"] = step.clicks->intervalSamples;
    }
    if (step.skewLimitSamples) object["skewLimitSamples"] = *step.skewLimitSamples;
    if (step.milliseconds) object["milliseconds"] = *step.milliseconds;
    if (step.limitMilliseconds) object["limitMilliseconds"] = *step.limitMilliseconds;
    if (step.survivor) {
        object["survivor"] = step.survivor->uid;
        object["survivorEvent"] = step.survivor->event;
        object["lostLimitSamples"] = step.survivor->lostLimitSamples;
    }
    if (step.returned) {
        object["returned"] = step.returned->uid;
        object["returnedEvent"] = step.returned->event;
        object["returnedLimitMilliseconds"] = step.returned->limitMilliseconds;
    }
    addCompared(object, "default", step.defaultOutput);
    addCompared(object, "alert", step.alertOutput);
    addCompared(object, "record", step.record);
    if (!step.problem.empty()) object["problem"] = step.problem;
    return object;
}

} // namespace

std::string recordingName(const StoryOutput& output) { return output.uid + ".wav"; }

void Story::write(const std::filesystem::path& file, int sampleRate) const {
    json object = {{"sampleRate", sampleRate},
                   {"source", source},
                   {"outputs", json::array()},
                   {"events", json::array()},
                   {"steps", json::array()}};
    for (const StoryOutput& output : outputs)
        object["outputs"].push_back({{"uid", output.uid},
                                     {"name", output.name},
                                     {"kind", output.kind},
                                     {"recording", recordingName(output)}});
    for (const Event& event : events)
        object["events"].push_back({{"time", event.time}, {"label", event.label}});
    for (const StoryStep& step : steps)
        object["steps"].push_back(encoded(step));
    std::ofstream stream(file);
    stream << object.dump(2) << "\n";
    if (!stream.flush()) throw std::runtime_error("The story can't be written to " + file.string());
}

} // namespace velto
