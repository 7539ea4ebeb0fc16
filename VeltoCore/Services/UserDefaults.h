// UserDefaults: the user's stored settings, as typed values under keys.
//
// Registered defaults answer where nothing is stored, and are never stored themselves. Where a Boolean or a
// double is asked for, a value of any type is taken as one, as macOS' own store does, on all platforms; a
// value of another type than the others that are asked for reads as absent.
#pragma once

#include "VeltoCore/Foundation/Data.h"
#include "VeltoCore/Observation/Observable.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

namespace velto {

using DefaultsValue = std::variant<bool, std::int64_t, double, std::string, Data>;
using DefaultsDictionary = std::map<std::string, DefaultsValue, std::less<>>;

/// A number is true unless it is 0; text when it is "YES", "true" or "1", in any case; nothing else.
bool asBool(const DefaultsValue& value);
/// Text is the number that it begins with; what has none is 0.
double asDouble(const DefaultsValue& value);
/// None for anything but text.
std::optional<std::string> asText(const DefaultsValue& value);

class UserDefaults {
  public:
    virtual ~UserDefaults() = default;

    /// What is stored under the key, whatever its type; registered defaults don't count.
    virtual std::optional<DefaultsValue> storedValue(std::string_view key) const = 0;
    /// Stores the value. It may be written to disk later, but within a second.
    virtual void set(std::string_view key, DefaultsValue value) = 0;
    virtual void remove(std::string_view key) = 0;
    /// Writes everything to disk before it returns. Never throws: a failure is logged, and tried again with
    /// the next change and the next call.
    virtual void synchronize() = 0;

    /// Why some of what is stored is not on disk, as people say it; absent while it is or will be, and always
    /// where the platform doesn't tell.
    const std::optional<std::string>& writeFailure() const noexcept { return writeFailure_.value(); }
    /// Calls the handler when that changes.
    Subscription observeWriteFailure(std::function<void()> handler) {
        return writeFailure_.observe(std::move(handler));
    }

    /// Adds to the registered defaults, replacing those of equal keys.
    void registerDefaults(DefaultsDictionary defaults);

    /// What is stored, else what is registered.
    std::optional<DefaultsValue> value(std::string_view key) const;
    std::optional<std::string> stringValue(std::string_view key) const { return typed<std::string>(key); }
    std::optional<Data> dataValue(std::string_view key) const { return typed<Data>(key); }

  protected:
    void setWriteFailure(std::optional<std::string> reason) { writeFailure_.set(std::move(reason)); }

  private:
    template <class T>
    std::optional<T> typed(std::string_view key) const {
        const auto found = value(key);
        const T* held = found ? std::get_if<T>(&*found) : nullptr;
        return held ? std::optional<T>(*held) : std::nullopt;
    }

    DefaultsDictionary registered_;
    Observable<std::optional<std::string>> writeFailure_;
};

} // namespace velto
