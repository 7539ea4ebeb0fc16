#include "VeltoCore/Services/UserDefaults.h"

#include <utility>

namespace velto {

void UserDefaults::registerDefaults(DefaultsDictionary defaults) {
    for (auto& [key, value] : defaults)
        registered_.insert_or_assign(key, std::move(value));
}

std::optional<DefaultsValue> UserDefaults::value(std::string_view key) const {
    if (auto stored = storedValue(key)) return stored;
    const auto found = registered_.find(key);
    return found == registered_.end() ? std::nullopt : std::optional(found->second);
}

std::optional<double> UserDefaults::doubleValue(std::string_view key) const {
    if (const auto integer = typed<std::int64_t>(key)) return static_cast<double>(*integer);
    return typed<double>(key);
}

} // namespace velto
