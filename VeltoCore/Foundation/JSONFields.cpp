#include "VeltoCore/Foundation/JSONFields.h"

#include <fmt/format.h>

#include <cmath>
#include <limits>

namespace velto::json {

namespace {

constexpr int deepestNesting = 32;

/// Looked at before parsing, so that no nesting is ever built that could not be taken apart again.
bool isNestedTooDeep(const Data& data) {
    int depth = 0;
    bool isInString = false;
    for (std::size_t i = 0; i < data.size(); ++i) {
        const auto c = static_cast<char>(data[i]);
        if (isInString) {
            if (c == '\\') ++i;
            if (c == '"') isInString = false;
        } else if (c == '"') {
            isInString = true;
        } else if (c == '[' || c == '{') {
            if (++depth > deepestNesting) return true;
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return false;
}

} // namespace

Result<Value> parse(const Data& data) {
    if (isNestedTooDeep(data)) return failure("The value is nested too deep.");
    constexpr bool throwsErrors = false;
    Value value = Value::parse(data.begin(), data.end(), nullptr, throwsErrors);
    if (value.is_discarded()) return failure("The data is not valid JSON.");
    return value;
}

std::unexpected<DecodingError> failure(std::string message) {
    return std::unexpected(DecodingError{.message = std::move(message), .path = {}});
}

std::unexpected<DecodingError> failureBelow(std::string_view step, DecodingError error) {
    error.path.insert(0, step);
    return std::unexpected(std::move(error));
}

Result<bool> readJSON(const Value& value, std::type_identity<bool>) {
    if (!value.is_boolean()) return failure("Expected true or false.");
    return value.get<bool>();
}

Result<double> readJSON(const Value& value, std::type_identity<double>) {
    if (!value.is_number()) return failure("Expected a number.");
    return value.get<double>();
}

Result<float> readJSON(const Value& value, std::type_identity<float>) {
    const auto number = readJSON(value, std::type_identity<double>{});
    if (!number) return std::unexpected(number.error());
    if (std::abs(*number) > std::numeric_limits<float>::max()) return failure("The number is too large.");
    return static_cast<float>(*number);
}

Result<std::uint32_t> readJSON(const Value& value, std::type_identity<std::uint32_t>) {
    const auto number = readJSON(value, std::type_identity<double>{});
    if (!number) return std::unexpected(number.error());
    const bool fits = *number >= 0 && *number <= std::numeric_limits<std::uint32_t>::max();
    if (!fits || *number != std::trunc(*number)) return failure("Expected an integer from 0 to 4294967295.");
    return static_cast<std::uint32_t>(*number);
}

Result<std::string> readJSON(const Value& value, std::type_identity<std::string>) {
    if (!value.is_string()) return failure("Expected a string.");
    return value.get<std::string>();
}

Result<Date> readJSON(const Value& value, std::type_identity<Date>) {
    const auto seconds = readJSON(value, std::type_identity<double>{});
    if (!seconds) return std::unexpected(seconds.error());
    return Date{*seconds};
}

Result<UUID> readJSON(const Value& value, std::type_identity<UUID>) {
    const auto text = readJSON(value, std::type_identity<std::string>{});
    if (!text) return std::unexpected(text.error());
    const auto uuid = UUID::fromString(*text);
    if (!uuid) return failure("Expected a UUID.");
    return *uuid;
}

ObjectReader::ObjectReader(const Value& value) : value_(value) {
    if (!value.is_object()) error_ = DecodingError{.message = "Expected an object.", .path = {}};
}

const Value* ObjectReader::find(std::string_view key) const {
    if (!value_.is_object()) return nullptr;
    const auto found = value_.find(key);
    return found == value_.end() ? nullptr : &*found;
}

void ObjectReader::fail(std::string_view key, DecodingError error) {
    if (!error_) error_ = failureBelow("." + std::string(key), std::move(error)).error();
}

void Writer::boolean(bool value) {
    separate();
    text_ += value ? "true" : "false";
}

void Writer::integer(std::uint32_t value) {
    separate();
    text_ += std::to_string(value);
}

void Writer::number(float value) { writeNumber(value); }
void Writer::number(double value) { writeNumber(value); }

template <class Number>
void Writer::writeNumber(Number value) {
    separate();
    isComplete_ = isComplete_ && std::isfinite(value);
    text_ += fmt::format("{}", value);
}

void Writer::text(std::string_view value) {
    separate();
    constexpr int noIndentation = -1;
    constexpr bool asciiOnly = false;
    text_ += Value(value).dump(noIndentation, ' ', asciiOnly, Value::error_handler_t::replace);
}

/// Puts a comma between this and what came before in the same object or array.
void Writer::separate() {
    const char last = text_.empty() ? '[' : text_.back(); // never a character of a string: those end in '"'
    if (last != '[' && last != '{' && last != ':') text_ += ',';
}

void Writer::open(char bracket) {
    separate();
    text_ += bracket;
}

void Writer::close(char bracket) { text_ += bracket; }

std::optional<Data> Writer::finish() const {
    return isComplete_ ? std::optional(Data(text_.begin(), text_.end())) : std::nullopt;
}

} // namespace velto::json
