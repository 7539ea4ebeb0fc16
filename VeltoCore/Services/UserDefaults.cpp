#include "VeltoCore/Services/UserDefaults.h"

#include <algorithm>
#include <locale>
#include <sstream>
#include <utility>

namespace velto {

namespace {

struct AsBool {
    bool operator()(const std::string& text) const {
        std::string lower = text;
        std::ranges::transform(lower, lower.begin(), [](unsigned char letter) {
            return static_cast<char>(letter >= 'A' && letter <= 'Z' ? letter - 'A' + 'a' : letter);
        });
        return lower == "yes" || lower == "true" || lower == "1";
    }
    bool operator()(const Data&) const { return false; }
    bool operator()(auto number) const { return number != 0; }
};

struct AsDouble {
    double operator()(const std::string& text) const {
        std::istringstream stream(text);
        stream.imbue(std::locale::classic());
        double number = 0;
        stream >> number;
        return number;
    }
    double operator()(const Data&) const { return 0; }
    double operator()(auto number) const { return static_cast<double>(number); }
};

} // namespace

bool asBool(const DefaultsValue& value) { return std::visit(AsBool{}, value); }

double asDouble(const DefaultsValue& value) { return std::visit(AsDouble{}, value); }

std::optional<std::string> asText(const DefaultsValue& value) {
    const auto* text = std::get_if<std::string>(&value);
    return text ? std::optional(*text) : std::nullopt;
}

void UserDefaults::registerDefaults(DefaultsDictionary defaults) {
    for (auto& [key, value] : defaults)
        registered_.insert_or_assign(key, std::move(value));
}

std::optional<DefaultsValue> UserDefaults::value(std::string_view key) const {
    if (auto stored = storedValue(key)) return stored;
    const auto found = registered_.find(key);
    return found == registered_.end() ? std::nullopt : std::optional(found->second);
}

} // namespace velto
