// JSONReading: strict reading of stored records from JSON.
//
// For the core's own .cpp files: no other header includes it. A type is read by a function in its namespace:
//
//     static json::Result<Pair> readJSON(const json::Value& value, std::type_identity<Pair>) {
//         json::ObjectReader object(value);
//         return object.result(Pair{.name = object.required<std::string>("name"),
//                                   .volume = object.optional<float>("volume")});
//     }
//
// A Boolean is true or false and never a number, numbers must fit their type, null is absence where a value
// is optional and a fault elsewhere, unknown keys are ignored, of equal keys the last one counts. Values
// nested deeper than 32 levels are refused; there is no limit of size.
#pragma once

#include "VeltoCore/Foundation/Data.h"
#include "VeltoCore/Foundation/Date.h"
#include "VeltoCore/Foundation/DecodingError.h"
#include "VeltoCore/Foundation/UUID.h"

#include <cstddef>
#include <cstdint>
#include <expected>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace velto::json {

struct Value;
struct Field;
using Array = std::vector<Value>;
/// In the order of the text.
using Object = std::vector<Field>;

/// One value of a JSON text.
struct Value {
    std::variant<std::nullptr_t, bool, double, std::string, Array, Object> content;

    /// Null when the value is of another kind.
    template <class Content>
    const Content* as() const noexcept {
        return std::get_if<Content>(&content);
    }
};

struct Field {
    std::string key;
    Value value;
};

template <class T>
using Result = std::expected<T, DecodingError>;

Result<Value> parse(const Data& data);
std::unexpected<DecodingError> failure(std::string message);
/// The error as seen from the value that holds the faulty one under `step`: ".key" or "[index]".
std::unexpected<DecodingError> failureBelow(std::string_view step, DecodingError error);

Result<bool> readJSON(const Value& value, std::type_identity<bool>);
Result<std::uint32_t> readJSON(const Value& value, std::type_identity<std::uint32_t>);
Result<float> readJSON(const Value& value, std::type_identity<float>);
Result<double> readJSON(const Value& value, std::type_identity<double>);
Result<std::string> readJSON(const Value& value, std::type_identity<std::string>);
Result<Date> readJSON(const Value& value, std::type_identity<Date>);
Result<UUID> readJSON(const Value& value, std::type_identity<UUID>);

template <class T>
Result<std::vector<T>> readJSON(const Value& value, std::type_identity<std::vector<T>>) {
    const auto* array = value.as<Array>();
    if (!array) return failure("Expected an array.");
    std::vector<T> result;
    result.reserve(array->size());
    for (const Value& element : *array) {
        auto read = readJSON(element, std::type_identity<T>{});
        if (!read) return failureBelow("[" + std::to_string(result.size()) + "]", std::move(read.error()));
        result.push_back(std::move(*read));
    }
    return result;
}

template <class T>
Result<std::map<std::string, T>> readJSON(const Value& value, std::type_identity<std::map<std::string, T>>) {
    const auto* object = value.as<Object>();
    if (!object) return failure("Expected an object.");
    std::map<std::string, T> result;
    for (const auto& [key, element] : *object) {
        auto read = readJSON(element, std::type_identity<T>{});
        if (!read) return failureBelow("." + key, std::move(read.error()));
        result.insert_or_assign(key, std::move(*read));
    }
    return result;
}

/// Reads a stored value of the type.
template <class T>
Result<T> decode(const Data& data) {
    auto value = parse(data);
    if (!value) return std::unexpected(std::move(value.error()));
    return readJSON(*value, std::type_identity<T>{});
}

/// Reads the fields of an object. Faults are kept, the first one counts, and result() tells.
class ObjectReader {
  public:
    explicit ObjectReader(const Value& value);

    /// An empty T after a fault.
    template <class T>
    T required(std::string_view key) {
        const Value* field = find(key);
        if (!field) {
            fail(key, {.message = "The key is missing.", .path = {}});
            return T();
        }
        return read<T>(key, *field).value_or(T());
    }
    template <class T>
    std::optional<T> optional(std::string_view key) {
        const Value* field = find(key);
        return field && !field->as<std::nullptr_t>() ? read<T>(key, *field) : std::nullopt;
    }
    /// The value made from the fields, or the first fault.
    template <class T>
    Result<T> result(T value) {
        if (error_) return std::unexpected(std::move(*error_));
        return value;
    }

  private:
    template <class T>
    std::optional<T> read(std::string_view key, const Value& field) {
        auto read = readJSON(field, std::type_identity<T>{});
        if (read) return std::move(*read);
        fail(key, std::move(read.error()));
        return std::nullopt;
    }
    /// Null when there is no such key.
    const Value* find(std::string_view key) const;
    void fail(std::string_view key, DecodingError error);

    const Object* object_;
    std::optional<DecodingError> error_;
};

} // namespace velto::json
