// CommandOperations: the settings.
#include "Velto/Commands/CommandOperations.h"
#include "Velto/Commands/CommandStatus.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>

namespace velto {

namespace {

SettingRow settingCalled(const std::string& key, const std::vector<SettingRow>& rows) {
    const auto found = std::ranges::find(rows, key, &SettingRow::key);
    if (found != rows.end()) return *found;
    std::string keys;
    for (const SettingRow& row : rows)
        keys += (keys.empty() ? "" : ", ") + row.key;
    throw CommandFailure(fmt::format("There is no setting “{}”. There are: {}.", key, keys),
                         CommandFailure::Kind::wrongUsage);
}

JSON settingsOf(const std::vector<SettingRow>& rows) {
    JSON list = JSON::array();
    for (const SettingRow& row : rows)
        list.push_back({{"key", row.key},
                        {"value", row.text()},
                        {"label", row.label},
                        {"help", row.help},
                        {"isAvailable", row.isAvailable}});
    JSON answer = answerOfThisVersion();
    answer["settings"] = std::move(list);
    return answer;
}

} // namespace

Task<JSON> CommandOperations::settings(Arguments) { co_return settingsOf(app_.settings().list().rows()); }

Task<JSON> CommandOperations::getSetting(Arguments arguments) {
    co_return settingsOf({settingCalled(arguments.front(), app_.settings().list().rows())});
}

Task<JSON> CommandOperations::setSetting(Arguments arguments) {
    SettingsList& list = app_.settings().list();
    const SettingRow row = settingCalled(arguments[0], list.rows());
    if (!row.isAvailable) throw CommandFailure(fmt::format("{} can't be changed here and now.", row.key));
    const auto value = row.parsed(arguments[1]);
    if (!value) throw CommandFailure(value.error(), CommandFailure::Kind::wrongUsage);
    if (!list.set(row.key, *value)) failed(fmt::format("{} could not be changed.", row.key));
    co_return settingsOf({settingCalled(row.key, list.rows())});
}

} // namespace velto
