// Where the parts of the program lie that are files of their own.
#pragma once

#include <filesystem>

namespace velto {

/// Beside the program that runs, as it is built, or where an installed one keeps its parts. Throws
/// std::filesystem::filesystem_error where nobody can tell which program runs.
std::filesystem::path programPart(const std::filesystem::path& name);

} // namespace velto
