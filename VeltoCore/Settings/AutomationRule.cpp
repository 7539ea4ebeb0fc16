#include "VeltoCore/Settings/AutomationRule.h"

#include "VeltoCore/Foundation/JSONFields.h"

#include <string_view>

namespace velto {

namespace {

constexpr std::string_view devicesAvailableKey = "devicesAvailable";
constexpr std::string_view activatePresetKey = "activatePreset";

/// Triggers and actions are objects with the case's name as their only key.
template <class Case>
json::Result<Case> readOnlyCase(const json::Value& value, std::string_view name) {
    const auto* entries = value.as<json::Object>();
    if (entries && entries->size() != 1) return json::failure("Invalid number of keys found, expected one.");
    json::ObjectReader object(value);
    return object.result(object.required<Case>(name));
}

} // namespace

static void writeJSON(json::Writer& writer, const AutomationRule::DevicesAvailable& trigger) {
    writer.object([&] { writer.field("uids", trigger.uids); });
}

static json::Result<AutomationRule::DevicesAvailable>
readJSON(const json::Value& value, std::type_identity<AutomationRule::DevicesAvailable>) {
    json::ObjectReader object(value);
    return object.result(
        AutomationRule::DevicesAvailable{.uids = object.required<std::vector<std::string>>("uids")});
}

static void writeJSON(json::Writer& writer, const AutomationRule::ActivatePreset& action) {
    writer.object([&] { writer.field("id", action.id); });
}

static json::Result<AutomationRule::ActivatePreset>
readJSON(const json::Value& value, std::type_identity<AutomationRule::ActivatePreset>) {
    json::ObjectReader object(value);
    return object.result(AutomationRule::ActivatePreset{.id = object.required<UUID>("id")});
}

static void writeJSON(json::Writer& writer, const AutomationRule::Trigger& trigger) {
    writer.object(
        [&] { writer.field(devicesAvailableKey, std::get<AutomationRule::DevicesAvailable>(trigger)); });
}

static json::Result<AutomationRule::Trigger> readJSON(const json::Value& value,
                                                      std::type_identity<AutomationRule::Trigger>) {
    return readOnlyCase<AutomationRule::DevicesAvailable>(value, devicesAvailableKey);
}

static void writeJSON(json::Writer& writer, const AutomationRule::Action& action) {
    writer.object([&] { writer.field(activatePresetKey, std::get<AutomationRule::ActivatePreset>(action)); });
}

static json::Result<AutomationRule::Action> readJSON(const json::Value& value,
                                                     std::type_identity<AutomationRule::Action>) {
    return readOnlyCase<AutomationRule::ActivatePreset>(value, activatePresetKey);
}

static void writeJSON(json::Writer& writer, const AutomationRule& rule) {
    writer.object([&] {
        writer.field("id", rule.id);
        writer.field("isEnabled", rule.isEnabled);
        writer.field("trigger", rule.trigger);
        writer.field("action", rule.action);
    });
}

static json::Result<AutomationRule> readJSON(const json::Value& value, std::type_identity<AutomationRule>) {
    json::ObjectReader object(value);
    return object.result(AutomationRule{
        .id = object.required<UUID>("id"),
        .isEnabled = object.required<bool>("isEnabled"),
        .trigger = object.required<AutomationRule::Trigger>("trigger"),
        .action = object.required<AutomationRule::Action>("action"),
    });
}

std::optional<Data> encodeAutomationRule(const AutomationRule& rule) { return json::encode(rule); }

std::expected<AutomationRule, DecodingError> decodeAutomationRule(const Data& data) {
    return json::decode<AutomationRule>(data);
}

} // namespace velto
