#include "Velto/Commands/CommandText.h"

#include "VeltoCore/Services/LogSink.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <vector>

namespace velto {

namespace {

using Row = std::vector<std::string>;

std::string text(const JSON& object, const char* key) {
    const auto found = object.find(key);
    // What somebody else has named may hold what a terminal takes for orders.
    return found != object.end() && found->is_string() ? cleanedForLog(found->get_ref<const std::string&>())
                                                       : "";
}

bool flag(const JSON& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_boolean() && found->get<bool>();
}

std::string percent(const JSON& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end() || !found->is_number()) return "";
    return fmt::format("{:.0f} %", std::round(found->get<double>() * 100));
}

/// Its elements that are objects.
JSON list(const JSON& object, const char* key) {
    JSON result = JSON::array();
    if (const auto found = object.find(key); found != object.end() && found->is_array())
        std::ranges::copy_if(*found, std::back_inserter(result), &JSON::is_object);
    return result;
}

std::size_t width(const std::string& text) {
    return static_cast<std::size_t>(
        std::ranges::count_if(text, [](char byte) { return (byte & 0xC0) != 0x80; }));
}

/// Columns two blanks apart; the last one ends where it ends.
std::string columns(const std::vector<Row>& rows) {
    std::vector<std::size_t> widths;
    for (const Row& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t index = 0; index < row.size(); ++index)
            widths[index] = std::max(widths[index], width(row[index]));
    }
    std::string result;
    for (const Row& row : rows) {
        std::string line;
        for (std::size_t index = 0; index < row.size(); ++index) {
            line += row[index];
            line.append(widths[index] - width(row[index]) + 2, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        result += line + '\n';
    }
    return result;
}

/// "80 %, muted, 12.4 ms later".
std::string sound(const JSON& output) {
    if (!flag(output, "isConnected")) return "not connected";
    std::vector<std::string> told;
    if (const std::string volume = percent(output, "volume"); !volume.empty()) told.push_back(volume);
    if (flag(output, "isMuted")) told.emplace_back("muted");
    const JSON delay = output.value("delay", JSON());
    if (delay.is_number() && delay.get<double>() > 0)
        told.push_back(fmt::format("{} ms later", delay.get<double>()));
    return fmt::format("{}", fmt::join(told, ", "));
}

std::string trouble(const JSON& status) {
    std::string result;
    if (const JSON& question = status.value("question", JSON()); question.is_object())
        result +=
            fmt::format("{} is gone: velto answer keep, or velto answer stop?\n", text(question, "name"));
    for (const char* key : {"trouble", "advice"})
        if (const std::string told = text(status, key); !told.empty()) result += told + '\n';
    return result;
}

std::string statusText(const JSON& status) {
    std::vector<Row> rows;
    for (const JSON& output : list(status, "outputs"))
        rows.push_back({"  " + text(output, "name"), sound(output)});
    if (const std::string volume = percent(status, "volume"); !volume.empty() && !rows.empty())
        rows.push_back({"  all", volume});
    if (const std::string preset = text(status, "preset"); !preset.empty())
        rows.push_back({"  preset", preset});
    return text(status, "title") + '\n' + columns(rows) + trouble(status);
}

std::string outputsText(const JSON& answer) {
    std::vector<Row> rows;
    for (const JSON& output : list(answer, "outputs"))
        rows.push_back({text(output, "name"), text(output, "transport"), text(output, "uid"),
                        flag(output, "isPlaying")   ? "plays"
                        : flag(output, "isDefault") ? "default"
                                                    : ""});
    return columns(rows);
}

std::string presetsText(const JSON& answer) {
    std::vector<Row> rows;
    for (const JSON& preset : list(answer, "presets")) {
        std::string outputs;
        for (const JSON& output : list(preset, "outputs"))
            outputs += (outputs.empty() ? "" : " + ") + text(output, "name");
        std::string marks = flag(preset, "isActive")  ? "plays"
                            : flag(preset, "isReady") ? "ready"
                                                      : "not there";
        if (flag(preset, "isFavorite")) marks += ", favourite";
        if (flag(preset, "isAutoConnect")) marks += ", starts by itself";
        rows.push_back({text(preset, "name"), outputs, marks});
    }
    return columns(rows);
}

std::string settingsText(const JSON& answer) {
    std::vector<Row> rows;
    for (const JSON& setting : list(answer, "settings"))
        rows.push_back({text(setting, "key"), text(setting, "value"), text(setting, "label")});
    return columns(rows);
}

std::string inputsText(const JSON& answer) {
    std::vector<Row> rows;
    for (const JSON& input : list(answer, "inputs"))
        rows.push_back({text(input, "name"), text(input, "uid")});
    return columns(rows);
}

std::string progressText(const JSON& progress) {
    const std::string step = text(progress, "step");
    if (step == "opening") return fmt::format("Listening with {} …\n", text(progress, "input"));
    return step == "measuring" ? "Both outputs play a sweep …\n" : "Again, through the delays …\n";
}

} // namespace

std::string CommandText::of(const JSON& answer) {
    if (answer.contains("alignment")) return text(answer["alignment"], "sentence") + '\n';
    if (answer.contains("progress")) return progressText(answer["progress"]);
    if (answer.contains("inputs")) return inputsText(answer);
    if (answer.contains("settings")) return settingsText(answer);
    if (answer.contains("presets")) return presetsText(answer);
    if (answer.contains("state")) return statusText(answer);
    return outputsText(answer);
}

std::optional<CommandFailure> CommandText::failureOf(const JSON& answer) {
    using Kind = CommandFailure::Kind;
    if (!answer.contains("error")) return std::nullopt;
    return CommandFailure(text(answer, "error"),
                          flag(answer, "isWrongUsage") ? Kind::wrongUsage : Kind::failed);
}

std::string CommandText::lineOf(const JSON& status) {
    std::string line = text(status, "title");
    const char* separator = ": ";
    for (const JSON& output : list(status, "outputs")) {
        line += std::exchange(separator, "; ") + text(output, "name");
        if (const std::string told = sound(output); !told.empty()) line += ' ' + told;
    }
    if (const JSON& question = status.value("question", JSON()); question.is_object())
        line += " (keep or stop?)";
    return line;
}

std::string CommandText::namesOf(const JSON& answer) {
    std::string names;
    for (const char* key : {"outputs", "inputs", "presets"})
        for (const JSON& element : list(answer, key))
            names += text(element, "name") + '\n';
    for (const JSON& setting : list(answer, "settings"))
        names += text(setting, "key") + '\n';
    return names;
}

} // namespace velto
