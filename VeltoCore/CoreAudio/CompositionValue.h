// CompositionValue: one value of an aggregate's composition as the hardware layer reports it.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

namespace velto {

struct CompositionValue;
using CompositionDictionary = std::map<std::string, CompositionValue>;
using CompositionArray = std::vector<CompositionValue>;

struct CompositionValue {
    /// A value of a type that the system has no use for.
    struct Opaque {
        bool operator==(const Opaque&) const = default;
    };

    /// Booleans are integers, 0 or 1.
    std::variant<Opaque, std::int64_t, double, std::string, CompositionArray, CompositionDictionary> value;

    template <class T>
    const T* as() const noexcept {
        return std::get_if<T>(&value);
    }
    /// True for a number other than zero; false for anything else.
    bool isNonZeroNumber() const noexcept {
        if (const auto* integer = as<std::int64_t>()) return *integer != 0;
        const auto* number = as<double>();
        return number && *number != 0;
    }
    friend bool operator==(const CompositionValue&, const CompositionValue&) = default;
};

} // namespace velto
