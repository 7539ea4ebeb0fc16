#include "VeltoCore/Foundation/JSONReading.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <limits>
#include <ranges>

namespace velto::json {

namespace {

/// Builds the value while the text is read. Refusing deep nesting at once keeps hostile text from building
/// anything large, and lets a value be taken apart again without much stack.
class ValueBuilder final : public nlohmann::json_sax<nlohmann::json> {
  public:
    Value take() { return std::move(root_); }

    bool null() override { return put({nullptr}); }
    bool boolean(bool value) override { return put({value}); }
    bool number_integer(std::int64_t value) override { return put({static_cast<double>(value)}); }
    bool number_unsigned(std::uint64_t value) override { return put({static_cast<double>(value)}); }
    bool number_float(double value, const std::string&) override { return put({value}); }
    bool string(std::string& value) override { return put({std::move(value)}); }
    bool binary(nlohmann::json::binary_t&) override { return false; } // not in text
    bool start_array(std::size_t) override { return open({Array()}); }
    bool end_array() override { return close(); }
    bool start_object(std::size_t) override { return open({Object()}); }
    bool end_object() override { return close(); }
    bool key(std::string& key) override {
        std::get<Object>(open_.back()->content).push_back({std::move(key), {}});
        return true;
    }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override {
        return false;
    }

  private:
    static constexpr std::size_t deepestNesting = 32;

    /// Where the next value goes.
    Value& place() {
        if (open_.empty()) return root_;
        if (auto* object = std::get_if<Object>(&open_.back()->content)) return object->back().value;
        return std::get<Array>(open_.back()->content).emplace_back();
    }
    bool put(Value value) {
        place() = std::move(value);
        return true;
    }
    bool open(Value container) {
        if (open_.size() == deepestNesting) return false;
        Value& opened = place();
        opened = std::move(container);
        open_.push_back(&opened); // stays where it is: its parent grows only after it is closed
        return true;
    }
    bool close() {
        open_.pop_back();
        return true;
    }

    Value root_;
    std::vector<Value*> open_;
};

} // namespace

Result<Value> parse(const Data& data) {
    ValueBuilder builder;
    const auto* text =
        reinterpret_cast<const char*>(data.data()); // not every library has text of other types
    if (!nlohmann::json::sax_parse(text, text + data.size(), &builder))
        return failure("The data is not valid JSON, or nested too deep.");
    return builder.take();
}

std::unexpected<DecodingError> failure(std::string message) {
    return std::unexpected(DecodingError{.message = std::move(message), .path = {}});
}

std::unexpected<DecodingError> failureBelow(std::string_view step, DecodingError error) {
    error.path.insert(0, step);
    return std::unexpected(std::move(error));
}

Result<bool> readJSON(const Value& value, std::type_identity<bool>) {
    if (const auto* boolean = value.as<bool>()) return *boolean;
    return failure("Expected true or false.");
}

Result<double> readJSON(const Value& value, std::type_identity<double>) {
    if (const auto* number = value.as<double>()) return *number;
    return failure("Expected a number.");
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
    if (const auto* text = value.as<std::string>()) return *text;
    return failure("Expected a string.");
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

ObjectReader::ObjectReader(const Value& value) : object_(value.as<Object>()) {
    if (!object_) error_ = DecodingError{.message = "Expected an object.", .path = {}};
}

const Value* ObjectReader::find(std::string_view key) const {
    if (!object_) return nullptr;
    for (const auto& [name, value] : std::views::reverse(*object_)) {
        if (name == key) return &value;
    }
    return nullptr;
}

void ObjectReader::fail(std::string_view key, DecodingError error) {
    if (!error_) error_ = failureBelow("." + std::string(key), std::move(error)).error();
}

} // namespace velto::json
