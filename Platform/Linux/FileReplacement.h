// FileReplacement: writes a file of the user's alone so that there is always a whole one.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace velto {

struct FileReplacement {
    FileReplacement() = delete;

    /// Puts the content, with mode 0600, in the place of the file, or of what a link of that name leads to.
    /// It is on disk by then, and its name with it; a crash leaves the old file or the new one. Absent for
    /// success, else the reason: then the old file is still there, unless only the folder could not be
    /// brought to disk.
    static std::optional<std::string> write(const std::filesystem::path& file, std::string_view content);
    /// Removes what killed writes of the file, and of files whose names begin with its, have left behind.
    static void sweep(const std::filesystem::path& file);
};

} // namespace velto
