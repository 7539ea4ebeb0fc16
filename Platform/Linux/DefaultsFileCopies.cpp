#include "Platform/Linux/DefaultsFileCopies.h"

#include "Platform/Linux/FileReplacement.h"
#include "VeltoCore/Services/LoggingService.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <fstream>
#include <ios>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

namespace velto {

namespace {

namespace fs = std::filesystem;

/// By number, the oldest first.
using Copies = std::map<std::uint64_t, fs::path>;

/// The number in the name of a copy; none for other names.
std::optional<std::uint64_t> copyNumber(std::string_view name, std::string_view prefix) {
    if (!name.starts_with(prefix)) return std::nullopt;
    name.remove_prefix(prefix.size());
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    const bool isNumber = error == std::errc() && name == std::to_string(number); // one name for each
    return isNumber ? std::optional(number) : std::nullopt;
}

/// Throws when the folder can't be read to its end: then no number is known to be free.
Copies copiesIn(const fs::path& folder, std::string_view prefix) {
    Copies copies;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        const auto number = copyNumber(entry.path().filename().native(), prefix);
        if (number && entry.symlink_status().type() == fs::file_type::regular)
            copies.emplace(*number, entry.path());
    }
    return copies;
}

bool hasContent(const fs::path& file, std::string_view content) {
    std::error_code error;
    if (fs::file_size(file, error) != content.size() || error) return false;
    std::string found(content.size(), '\0');
    std::ifstream stream(file, std::ios::binary);
    stream.read(found.data(), static_cast<std::streamsize>(found.size()));
    return stream && found == content;
}

/// A file, or whatever else.
bool isAnythingAt(const fs::path& path) { return fs::exists(fs::symlink_status(path)); }

fs::path named(const fs::path& base, std::uint64_t number) { return base.native() + std::to_string(number); }

/// Gives the copies the lowest numbers that are free, in their order: somebody has called a file so that no
/// number is left above it.
void renumber(Copies& copies, const fs::path& base) {
    Copies renumbered;
    std::uint64_t number = 1;
    for (const auto& [old, path] : copies) {
        while (number < old && isAnythingAt(named(base, number)))
            ++number;
        number = std::min(number, old);
        if (number < old) fs::rename(path, named(base, number));
        renumbered.emplace(number, named(base, number));
        ++number;
    }
    copies = std::move(renumbered);
}

/// The path of the next copy: above all others, and free.
fs::path nextCopy(Copies& copies, const fs::path& base) {
    for (;; renumber(copies, base)) {
        std::uint64_t number = copies.empty() ? 0 : copies.rbegin()->first;
        while (number < std::numeric_limits<std::uint64_t>::max())
            if (fs::path path = named(base, ++number); !isAnythingAt(path)) return path;
    }
}

std::string failed(const fs::path& at, const std::string& reason) {
    LoggingService::persistence.error("The copies of the settings could not be renewed at {}: {}",
                                      at.native(), reason);
    return reason;
}

/// Throws filesystem_error for what it can't list or remove.
std::optional<std::string> keepIn(const fs::path& folder, const std::string& prefix,
                                  std::string_view content) {
    Copies copies = copiesIn(folder, prefix);
    if (!copies.empty() && hasContent(copies.rbegin()->second, content)) return std::nullopt;

    const fs::path latest = nextCopy(copies, folder / prefix);
    if (const auto failure = FileReplacement::write(latest, content)) return failed(latest, *failure);

    // Only now may any go: those that the new one makes superfluous, then the oldest.
    std::erase_if(copies, [&](const auto& copy) {
        return hasContent(copy.second, content) && fs::remove(copy.second);
    });
    for (; copies.size() >= DefaultsFileCopies::generations; copies.erase(copies.begin()))
        fs::remove(copies.begin()->second);
    return std::nullopt;
}

} // namespace

std::optional<std::string> DefaultsFileCopies::keep(const fs::path& file, std::string_view content) {
    try {
        return keepIn(file.parent_path(), file.filename().native() + ".copy-", content);
    } catch (const fs::filesystem_error& error) {
        return failed(file.parent_path(), error.what());
    }
}

} // namespace velto
