#include "Tools/Judge/StoryFields.h"

#include "Tools/Judge/UnusableInput.h"

#include <fmt/format.h>

#include <cmath>

namespace velto::judge {

using nlohmann::json;

StoryFields::StoryFields(const json& object, std::string place) : object_(object), place_(std::move(place)) {
    if (!object.is_object()) fail("it is no object");
}

bool StoryFields::has(std::string_view key) const {
    const auto found = object_.find(key);
    return found != object_.end() && !found->is_null();
}

std::string StoryFields::text(std::string_view key) {
    const json& value = required(key);
    if (!value.is_string()) failType(key, "text");
    return value.get<std::string>();
}

double StoryFields::number(std::string_view key) {
    const json& value = required(key);
    if (!value.is_number() || !std::isfinite(value.get<double>())) failType(key, "a number");
    return value.get<double>();
}

std::int64_t StoryFields::count(std::string_view key) {
    const json& value = required(key);
    if (!value.is_number_unsigned() || value.get<std::uint64_t>() > std::uint64_t{INT32_MAX})
        failType(key, "a whole number from 0 on");
    return value.get<std::int64_t>();
}

bool StoryFields::boolean(std::string_view key) {
    const json& value = required(key);
    if (!value.is_boolean()) failType(key, "true or false");
    return value.get<bool>();
}

const std::vector<json>& StoryFields::array(std::string_view key) {
    const json& value = required(key);
    if (!value.is_array()) failType(key, "a list");
    return value.get_ref<const json::array_t&>();
}

std::vector<std::string> StoryFields::texts(std::string_view key) {
    std::vector<std::string> result;
    for (const json& element : array(key)) {
        if (!element.is_string()) failType(key, "a list of texts");
        result.push_back(element.get<std::string>());
    }
    return result;
}

std::map<std::string, double> StoryFields::optionalNumbers(std::string_view key) {
    known_.emplace(key);
    if (!has(key)) return {};
    const json& value = required(key);
    std::map<std::string, double> result;
    if (!value.is_object()) failType(key, "an object of numbers");
    for (const auto& [name, number] : value.items()) {
        if (!number.is_number() || !(number.get<double>() >= 0))
            failType(key, "an object of numbers from 0 on");
        result.emplace(name, number.get<double>());
    }
    return result;
}

std::optional<std::string> StoryFields::optionalText(std::string_view key) {
    known_.emplace(key);
    return has(key) ? std::optional(text(key)) : std::nullopt;
}

std::optional<double> StoryFields::optionalNumber(std::string_view key) {
    known_.emplace(key);
    return has(key) ? std::optional(number(key)) : std::nullopt;
}

std::optional<std::int64_t> StoryFields::optionalCount(std::string_view key) {
    known_.emplace(key);
    return has(key) ? std::optional(count(key)) : std::nullopt;
}

std::optional<bool> StoryFields::optionalBoolean(std::string_view key) {
    known_.emplace(key);
    return has(key) ? std::optional(boolean(key)) : std::nullopt;
}

void StoryFields::finish() const {
    for (const auto& [key, value] : object_.items()) {
        if (!known_.contains(key)) fail(fmt::format("the key \"{}\" is unknown", key));
    }
}

void StoryFields::fail(std::string_view what) const {
    throw UnusableInput(fmt::format("{}: {}.", place_, what));
}

const json& StoryFields::required(std::string_view key) {
    known_.emplace(key);
    if (!has(key)) fail(fmt::format("\"{}\" is missing", key));
    return *object_.find(key);
}

void StoryFields::failType(std::string_view key, std::string_view type) const {
    fail(fmt::format("\"{}\" must be {}", key, type));
}

} // namespace velto::judge
