#include "Platform/Linux/DefaultsFileCopies.h"

#include "Platform/Linux/FileReplacement.h"
#include "VeltoCore/Services/LoggingService.h"

#include <charconv>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <system_error>

namespace velto {

namespace {

namespace fs = std::filesystem;

/// By number, the oldest first.
using Copies = std::map<std::uint32_t, fs::path>;

/// The number in the name of a copy; none for other names.
std::optional<std::uint32_t> copyNumber(std::string_view name, std::string_view prefix) {
    if (!name.starts_with(prefix)) return std::nullopt;
    name.remove_prefix(prefix.size());
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    const bool isNumber = error == std::errc() && end == name.data() + name.size();
    return isNumber ? std::optional(number) : std::nullopt;
}

Copies copiesIn(const fs::path& folder, std::string_view prefix) {
    Copies copies;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        const auto number = copyNumber(entry->path().filename().native(), prefix);
        std::error_code unknownKind;
        if (number && entry->symlink_status(unknownKind).type() == fs::file_type::regular)
            copies.emplace(*number, entry->path());
    }
    return copies;
}

bool hasContent(const fs::path& file, std::string_view content) {
    std::ifstream stream(file, std::ios::binary);
    const std::string found((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    return stream && found == content;
}

void logFailure(const fs::path& copy, const std::string& reason) {
    LoggingService::persistence.error("The copies of the settings could not be renewed at {}: {}",
                                      copy.native(), reason);
}

bool removeCopy(const fs::path& copy) {
    std::error_code error;
    fs::remove(copy, error);
    if (error) logFailure(copy, error.message());
    return !error;
}

} // namespace

void DefaultsFileCopies::keep(const fs::path& file, std::string_view content) {
    const std::string prefix = file.filename().native() + ".copy-";
    Copies copies = copiesIn(file.parent_path(), prefix);
    if (!copies.empty() && hasContent(copies.rbegin()->second, content)) return;

    const std::uint32_t number = copies.empty() ? 1 : copies.rbegin()->first + 1;
    const fs::path latest = file.parent_path() / (prefix + std::to_string(number));
    if (const auto failure = FileReplacement::write(latest, content)) return logFailure(latest, *failure);

    // Only now may any go: those that the new one makes superfluous, then the oldest.
    std::erase_if(copies, [&](const auto& copy) {
        return hasContent(copy.second, content) && removeCopy(copy.second);
    });
    for (; copies.size() >= generations; copies.erase(copies.begin()))
        removeCopy(copies.begin()->second);
}

} // namespace velto
