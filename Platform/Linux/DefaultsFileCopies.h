// DefaultsFileCopies: what the defaults file was at the last starts of the program, and what other programs
// made of it meanwhile, kept beside it.
//
// The copies are numbered, such as "defaults.json.copy-7", and the highest number is the latest. A copy is
// never written again, only removed once there are enough later ones, so no failure can harm it. Anybody can
// call a file so: what is in the way is passed by, and where no higher number is left, the copies get lower
// ones. The program does not read them: bringing one back is for the user.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace velto {

struct DefaultsFileCopies {
    DefaultsFileCopies() = delete;

    static constexpr std::size_t generations = 3;

    /// Keeps the file's content as the latest copy. All copies differ: a content kept earlier is not kept
    /// twice. Never throws: a failure is logged, and leaves the copies there are. Absent when the content is
    /// kept, else the reason.
    static std::optional<std::string> keep(const std::filesystem::path& file, std::string_view content);
};

} // namespace velto
