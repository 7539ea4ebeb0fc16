// PrivateFolder: a folder that only its user can look into.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace velto {

struct PrivateFolder {
    PrivateFolder() = delete;

    /// Makes the folder, and those it lies in; closes one that is the user's, and open to others. Absent for
    /// success, else the reason.
    static std::optional<std::string> make(const std::filesystem::path& folder);
};

} // namespace velto
