#include "Tools/Judge/StoryFields.h"

#include "Tools/Judge/UnusableInput.h"

#include <fmt/format.h>

#include <cmath>

namespace velto::judge {

using nlohmann::json;

StoryReader::StoryReader(const json& object, std::string place) : object_(object), place_(std::move(place)) {
    if (!object.is_object()) fail("it is no object");
}

void StoryReader::operator()(std::string_view key, std::string& text) {
    const json& value = required(key);
    if (!value.is_string()) failType(key, "text");
    text = value.get<std::string>();
}

void StoryReader::operator()(std::string_view key, double& number) {
    const json& value = required(key);
    if (!value.is_number() || !std::isfinite(value.get<double>())) failType(key, "a number");
    number = value.get<double>();
}

void StoryReader::operator()(std::string_view key, std::int64_t& count) {
    const json& value = required(key);
    if (!value.is_number_unsigned() || value.get<std::uint64_t>() > std::uint64_t{INT32_MAX})
        failType(key, "a whole number from 0 on");
    count = value.get<std::int64_t>();
}

void StoryReader::operator()(std::string_view key, bool& boolean) {
    const json& value = required(key);
    if (!value.is_boolean()) failType(key, "true or false");
    boolean = value.get<bool>();
}

void StoryReader::operator()(std::string_view key, std::vector<std::string>& texts) {
    for (const json& element : array(key)) {
        if (!element.is_string()) failType(key, "a list of texts");
        texts.push_back(element.get<std::string>());
    }
}

void StoryReader::operator()(std::string_view key, std::map<std::string, double>& numbers) {
    known_.emplace(key);
    if (!has(key)) return;
    const json& value = required(key);
    if (!value.is_object()) failType(key, "an object of numbers");
    for (const auto& [name, number] : value.items()) {
        if (!number.is_number() || !(number.get<double>() >= 0))
            failType(key, "an object of numbers from 0 on");
        numbers.emplace(name, number.get<double>());
    }
}

void StoryReader::finish() const {
    for (const auto& [key, value] : object_.items()) {
        if (!known_.contains(key)) fail(fmt::format("the key \"{}\" is unknown", key));
    }
}

void StoryReader::fail(std::string_view what) const {
    throw UnusableInput(fmt::format("{}: {}.", place_, what));
}

bool StoryReader::has(std::string_view key) const {
    const auto found = object_.find(key);
    return found != object_.end() && !found->is_null();
}

const json& StoryReader::required(std::string_view key) {
    known_.emplace(key);
    if (!has(key)) fail(fmt::format("\"{}\" is missing", key));
    return *object_.find(key);
}

const std::vector<json>& StoryReader::array(std::string_view key) {
    const json& value = required(key);
    if (!value.is_array()) failType(key, "a list");
    return value.get_ref<const json::array_t&>();
}

void StoryReader::failType(std::string_view key, std::string_view type) const {
    fail(fmt::format("\"{}\" must be {}", key, type));
}

} // namespace velto::judge
