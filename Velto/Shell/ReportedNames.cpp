#include "Velto/Shell/ReportedNames.h"

#include "VeltoCore/Aggregate/AggregateDeviceManager.h"
#include "VeltoCore/Settings/StoredForm.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>

namespace velto {

namespace {

/// Four hexadecimal digits: many outputs of the world share them, hardly any two of one computer.
std::string shortCode(std::string_view uid) {
    std::uint32_t hash = 2166136261U; // FNV-1a
    for (const char character : uid)
        hash = (hash ^ static_cast<unsigned char>(character)) * 16777619U;
    return fmt::format("{:04x}", (hash >> 16U) ^ (hash & 0xFFFFU));
}

std::string shortName(std::string_view uid) { return "Output " + shortCode(uid); }
std::string shortUID(std::string_view uid) { return "uid-" + shortCode(uid); }
/// Its UID is the same everywhere.
bool isOurs(std::string_view uid) { return uid == AggregateDeviceManager::aggregateUID; }

void replaceAll(std::string& text, std::string_view what, std::string_view by) {
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size()))
        text.replace(at, what.size(), by);
}

} // namespace

ReportedNames ReportedNames::redacted(const std::vector<std::pair<std::string, std::string>>& known) {
    ReportedNames names;
    names.isRedacted_ = true;
    for (const auto& [uid, name] : known) {
        if (isOurs(uid) || uid.empty()) continue;
        names.replacements_.emplace_back(uid, shortUID(uid));
        if (!name.empty()) names.replacements_.emplace_back(name, shortName(uid));
    }
    std::ranges::sort(names.replacements_, std::ranges::greater{},
                      [](const auto& replacement) { return replacement.first.size(); });
    return names;
}

std::string ReportedNames::name(const AudioOutputDevice& device) const {
    if (!isRedacted_) return device.name;
    return isOurs(device.uid) ? StoredOutputName::effective("") : shortName(device.uid);
}

std::string ReportedNames::uid(const std::string& uid) const {
    return isRedacted_ && !isOurs(uid) ? shortUID(uid) : uid;
}

std::string ReportedNames::description(const AudioManagerError& error) const {
    std::string text = error.errorDescription();
    for (const auto& [what, by] : replacements_)
        replaceAll(text, what, by);
    return text;
}

} // namespace velto
