#include "Tools/Judge/Report.h"

#include "Tools/Judge/TextTable.h"
#include "Tools/Judge/UnusableInput.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <fstream>

namespace velto::judge {

using Json = nlohmann::ordered_json;

namespace {

constexpr const char* nothing = "–";

std::string plural(std::size_t count, const char* what) {
    return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

/// The name of an output of the story; of any other the last part of its UID.
std::string outputName(const Story& story, const std::optional<Expectation<std::string>>& output) {
    if (!output) return nothing;
    if (output->actual.value_or("").empty()) return "none";
    if (const auto index = story.indexOf(*output->actual)) return story.outputs[*index].name;
    return output->actual->substr(output->actual->rfind('.') + 1);
}

std::string recordText(const std::optional<Expectation<bool>>& record) {
    if (!record) return nothing;
    if (!record->actual) return "unknown";
    return *record->actual ? "present" : "absent";
}

/// How long the operation took, and the returned output until it sounded again.
std::string timeText(const StoryStep& step, const StepJudgement& judgement) {
    std::string text = step.milliseconds ? fmt::format("{:.1f}", *step.milliseconds) : "";
    if (judgement.returned)
        text += fmt::format("{}back {:.1f}{}", text.empty() ? "" : ", ", judgement.returned->milliseconds,
                            judgement.returned->sourceWasSilent() ? " (pause)" : "");
    return text.empty() ? nothing : text;
}

std::vector<std::string> notesOf(const StepJudgement& judgement) {
    std::vector<std::string> notes;
    for (const std::string& reason : judgement.reasons)
        notes.push_back("    ✗ " + reason);
    return notes;
}

template <class T>
void addIf(Json& object, const char* key, const std::optional<T>& value) {
    if (value) object[key] = *value;
}

/// Pairs are told as two keys, an absent value as null.
template <class T>
void addPair(Json& object, const std::string& name, const std::optional<Expectation<T>>& pair) {
    if (!pair) return;
    object[name + "Expected"] = pair->expected;
    object[name + "Actual"] = pair->actual ? Json(*pair->actual) : Json();
}

double rounded(double value, int decimals) {
    const double scale = std::pow(10, decimals);
    return std::round(value * scale) / scale;
}

const char* dueText(Due due) {
    switch (due) {
    case Due::sound:
        return "sound";
    case Due::clicks:
        return "clicks";
    case Due::silence:
        break;
    }
    return "silence";
}

Json outputJSON(const StoryOutput& output, const OutputJudgement& judgement) {
    Json json{{"uid", output.uid},
              {"name", output.name},
              {"due", dueText(judgement.due)},
              {"verdict", judgement.passes() ? "pass" : "fail"},
              {"levelDBFS", rounded(judgement.level, 2)}};
    if (judgement.due == Due::sound) {
        if (judgement.correlation) json["lowestCorrelation"] = rounded(*judgement.correlation, 6);
        addIf(json, "lagSamples", judgement.lag);
        if (judgement.gain)
            json["gains"] = {rounded(double{judgement.gain->left}, 6),
                             rounded(double{judgement.gain->right}, 6)};
        json["judgedPieces"] = judgement.judgedPieces;
        json["silentPieces"] = judgement.silentPieces;
    }
    json["faults"] = judgement.faults;
    return json;
}

void addContinuity(Json& json, const StoryStep& step, const StepJudgement& judgement) {
    if (step.survivor) {
        Json& survivor = json["survivor"] = {{"uid", step.survivor->uid}, {"event", step.survivor->event}};
        if (const auto& lost = judgement.lost) {
            survivor["lostSamples"] = lost->total();
            survivor["gapSamples"] = lost->gap;
            survivor["skippedSamples"] = lost->skipped;
            survivor["repeatedSamples"] = lost->repeated;
        }
        addIf(survivor, "lostLimitSamples", step.survivor->lostLimit);
    }
    if (step.returning) {
        Json& returned = json["returned"] = {{"uid", step.returning->uid}, {"event", step.returning->event}};
        if (judgement.returned) {
            returned["milliseconds"] = rounded(judgement.returned->milliseconds, 3);
            returned["missingMilliseconds"] = rounded(judgement.returned->missingMilliseconds, 3);
            returned["sourceWasSilent"] = judgement.returned->sourceWasSilent();
        }
        addIf(returned, "limitMilliseconds", step.returning->limitMilliseconds);
    }
}

Json stepJSON(const Story& story, const StoryStep& step, const StepJudgement& judgement) {
    Json json{{"name", step.name},
              {"expected", step.expected},
              {"from", step.from},
              {"to", step.to},
              {"verdict", judgement.passes() ? "pass" : "fail"},
              {"reasons", judgement.reasons}};
    addIf(json, "milliseconds", step.milliseconds);
    addIf(json, "limitMilliseconds", step.limitMilliseconds);
    addIf(json, "skewSamples", judgement.skew);
    addIf(json, "skewLimitSamples", step.skewLimit);
    if (!step.gains.empty()) json["gains"] = step.gains;
    if (judgement.clicks)
        json["clicks"] = {{"count", judgement.clicks->count}, {"firstSample", judgement.clicks->begin}};
    addContinuity(json, step, judgement);
    addPair(json, "default", step.defaultOutput);
    addPair(json, "alert", step.alertOutput);
    addPair(json, "record", step.record);
    Json& outputs = json["outputs"] = Json::array();
    for (std::size_t i = 0; i < story.outputs.size(); ++i)
        outputs.push_back(outputJSON(story.outputs[i], judgement.outputs[i]));
    return json;
}

OutputJudgement outputFrom(const Json& json) {
    OutputJudgement result;
    for (const Due due : {Due::sound, Due::clicks})
        if (json.at("due") == dueText(due)) result.due = due;
    result.level = json.at("levelDBFS");
    result.faults = json.at("faults");
    if (json.contains("lowestCorrelation")) result.correlation = json["lowestCorrelation"];
    if (json.contains("lagSamples")) result.lag = json["lagSamples"];
    if (json.contains("gains")) result.gain = Gain{json["gains"].at(0), json["gains"].at(1)};
    result.judgedPieces = json.value("judgedPieces", 0);
    result.silentPieces = json.value("silentPieces", 0);
    return result;
}

StepJudgement stepFrom(const Json& json) {
    StepJudgement result;
    for (const Json& output : json.at("outputs"))
        result.outputs.push_back(outputFrom(output));
    result.reasons = json.at("reasons");
    if (json.contains("skewSamples")) result.skew = json["skewSamples"];
    if (json.contains("clicks"))
        result.clicks = ClickRow{json["clicks"].at("firstSample"), json["clicks"].at("count")};
    if (const Json survivor = json.value("survivor", Json()); survivor.contains("lostSamples"))
        result.lost = LostSamples{survivor.at("gapSamples"), survivor.at("skippedSamples"),
                                  survivor.at("repeatedSamples")};
    if (const Json returned = json.value("returned", Json()); returned.contains("milliseconds"))
        result.returned = Return{returned["milliseconds"], returned.at("missingMilliseconds")};
    return result;
}

std::size_t passedCount(const std::vector<StepJudgement>& judgements) {
    return static_cast<std::size_t>(std::ranges::count_if(judgements, &StepJudgement::passes));
}

} // namespace

std::string closingLine(const std::vector<StepJudgement>& judgements) {
    const std::size_t passed = passedCount(judgements);
    return fmt::format("{} passed, {} failed", plural(passed, "step"), judgements.size() - passed);
}

bool allPass(const std::vector<StepJudgement>& judgements) {
    return std::ranges::all_of(judgements, &StepJudgement::passes);
}

std::string reportTable(const Story& story, const std::vector<StepJudgement>& judgements) {
    using enum TextTable::Align;
    TextTable table({{"step", left, 26},
                     {"expected", left, 38},
                     {"measured ms", right, 18},
                     {"skew samples", right, 7},
                     {"lost samples", right, 7},
                     {"default", left, 14},
                     {"alert", left, 14},
                     {"record", left, 8},
                     {"verdict", left, 7}});
    for (std::size_t i = 0; i < judgements.size(); ++i) {
        const StoryStep& step = story.steps[i];
        const StepJudgement& judgement = judgements[i];
        table.add({step.name, step.expected, timeText(step, judgement),
                   judgement.skew ? fmt::format("{}", *judgement.skew) : nothing,
                   judgement.lost ? fmt::format("{}", judgement.lost->total()) : nothing,
                   outputName(story, step.defaultOutput), outputName(story, step.alertOutput),
                   recordText(step.record), judgement.passes() ? "pass" : "FAIL"},
                  notesOf(judgement));
    }
    return table.text() + closingLine(judgements) + "\n";
}

std::string reportJSON(const Story& story, const std::vector<StepJudgement>& judgements) {
    const std::size_t passed = passedCount(judgements);
    Json json{{"verdict", allPass(judgements) ? "pass" : "fail"},
              {"passed", passed},
              {"failed", judgements.size() - passed},
              {"sampleRate", sampleRate},
              {"correlationLimit", soundCorrelation},
              {"silenceDBFS", silentLevel}};
    Json& steps = json["steps"] = Json::array();
    for (std::size_t i = 0; i < judgements.size(); ++i)
        steps.push_back(stepJSON(story, story.steps[i], judgements[i]));
    return json.dump(2) + "\n";
}

std::vector<StepJudgement> readReport(const std::string& file) {
    try {
        std::ifstream stream(file, std::ios::binary);
        std::vector<StepJudgement> result;
        for (const Json& step : Json::parse(stream).at("steps"))
            result.push_back(stepFrom(step));
        return result;
    } catch (const Json::exception& error) {
        throw UnusableInput(fmt::format("{} is no report: {}.", file, error.what()));
    }
}

} // namespace velto::judge
