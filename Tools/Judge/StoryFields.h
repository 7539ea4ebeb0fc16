// StoryReader, StoryWriter: the fields of a story's objects in JSON. Both are driven by the one description
// of the fields that each type has: describe(fields, value), found beside the type.
//
// For Story.cpp alone: it shows the JSON library's types. A reader is strict, as a misspelt limit must not go
// unchecked: every fault is thrown as UnusableInput, and so is a key that nobody asked for.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velto::judge {

/// Null counts as a missing key.
class StoryReader {
  public:
    /// `place` is what the object is called in errors.
    StoryReader(const nlohmann::json& object, std::string place);

    void operator()(std::string_view key, std::string& text);
    /// A finite number.
    void operator()(std::string_view key, double& number);
    /// A whole number that is not negative.
    void operator()(std::string_view key, std::int64_t& count);
    void operator()(std::string_view key, bool& boolean);
    void operator()(std::string_view key, std::vector<std::string>& texts);
    /// Numbers that are not negative; none when the key is missing.
    void operator()(std::string_view key, std::map<std::string, double>& numbers);
    template <class T>
    void operator()(std::string_view key, std::optional<T>& value) {
        known_.emplace(key);
        if (has(key)) (*this)(key, value.emplace());
    }
    /// The key is a plural: each object is called by the singular.
    template <class T>
    void operator()(std::string_view key, std::vector<T>& objects) {
        const std::string singular(key.substr(0, key.size() - 1));
        for (const nlohmann::json& element : array(key))
            read(element, singular + " " + std::to_string(objects.size() + 1), objects.emplace_back());
    }
    template <class T>
    void operator()(std::string_view key, T& object) {
        read(required(key), std::string(key), object);
    }

    /// Throws when the object has keys that nobody asked for.
    void finish() const;
    [[noreturn]] void fail(std::string_view what) const;

  private:
    template <class T>
    void read(const nlohmann::json& json, const std::string& name, T& object) {
        StoryReader fields(json, place_ + ", " + name);
        describe(fields, object);
        fields.finish();
    }
    bool has(std::string_view key) const;
    const nlohmann::json& required(std::string_view key);
    const std::vector<nlohmann::json>& array(std::string_view key);
    [[noreturn]] void failType(std::string_view key, std::string_view type) const;

    const nlohmann::json& object_;
    std::string place_;
    std::set<std::string, std::less<>> known_;
};

/// What is absent, or empty where that says the same, is left out.
class StoryWriter {
  public:
    template <class T>
    void operator()(std::string_view key, std::optional<T>& value) {
        if (value) (*this)(key, *value);
    }
    void operator()(std::string_view key, std::map<std::string, double>& numbers) {
        if (!numbers.empty()) object_[std::string(key)] = numbers;
    }
    template <class T>
    void operator()(std::string_view key, T& value) {
        object_[std::string(key)] = written(value);
    }

    static std::string text(auto& object) { return written(object).dump(2) + "\n"; }

  private:
    template <class T>
    static nlohmann::json written(T& value) {
        if constexpr (std::is_constructible_v<nlohmann::json, T&>) {
            return value;
        } else {
            StoryWriter fields;
            describe(fields, value);
            return std::move(fields.object_);
        }
    }
    template <class T>
    static nlohmann::json written(std::vector<T>& values) {
        nlohmann::json list = nlohmann::json::array();
        for (T& value : values)
            list.push_back(written(value));
        return list;
    }

    nlohmann::json object_ = nlohmann::json::object();
};

} // namespace velto::judge
