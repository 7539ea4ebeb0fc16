// StoryFields: strict reading of one object of a story. For .cpp files alone: it shows the JSON library's
// types.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace velto::judge {

/// Null counts as a missing key. Every fault is thrown as UnusableInput.
class StoryFields {
  public:
    /// `place` is what the object is called in errors.
    StoryFields(const nlohmann::json& object, std::string place);

    bool has(std::string_view key) const;
    std::string text(std::string_view key);
    /// A finite number.
    double number(std::string_view key);
    /// A whole number that is not negative.
    std::int64_t count(std::string_view key);
    bool boolean(std::string_view key);
    const std::vector<nlohmann::json>& array(std::string_view key);
    std::vector<std::string> texts(std::string_view key);

    /// An object of numbers that are not negative; empty when it's missing.
    std::map<std::string, double> optionalNumbers(std::string_view key);
    std::optional<std::string> optionalText(std::string_view key);
    std::optional<double> optionalNumber(std::string_view key);
    std::optional<std::int64_t> optionalCount(std::string_view key);
    std::optional<bool> optionalBoolean(std::string_view key);

    /// Throws when the object has keys that nobody asked for.
    void finish() const;
    [[noreturn]] void fail(std::string_view what) const;

  private:
    const nlohmann::json& required(std::string_view key);
    [[noreturn]] void failType(std::string_view key, std::string_view type) const;

    const nlohmann::json& object_;
    std::string place_;
    std::set<std::string, std::less<>> known_;
};

} // namespace velto::judge
