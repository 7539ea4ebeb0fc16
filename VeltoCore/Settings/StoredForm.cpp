#include "VeltoCore/Settings/StoredForm.h"

#include "VeltoCore/Aggregate/AggregateDeviceManager.h"
#include "VeltoCore/CoreAudio/ClampedVolume.h"
#include "VeltoCore/Foundation/TrimmedText.h"

namespace velto {

std::optional<std::optional<std::string>>
StoredForm<std::optional<std::string>>::decode(const DefaultsValue& stored) {
    return asText(stored).transform(
        [](const std::string& uid) { return uid.empty() ? std::nullopt : std::optional(uid); });
}

std::optional<float> StoredVolume::decode(const DefaultsValue& stored) {
    return clampedVolume(static_cast<float>(asDouble(stored)));
}

std::string StoredOutputName::effective(std::string_view typed) {
    const std::string_view name = trimmed(typed);
    return std::string(name.empty() ? AggregateDeviceManager::defaultName : name);
}

} // namespace velto
