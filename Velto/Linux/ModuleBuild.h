// Which build a module is of, told before it is loaded: one of another build would be loaded and then fail
// somewhere.
#pragma once

#include <filesystem>
#include <string>

namespace velto {

/// In hexadecimal digits, from the note that the linker leaves in the file; empty where there is none.
std::string moduleBuild(const std::filesystem::path& file);

/// Throws std::runtime_error, with a sentence for the user, unless the file is the module that the program
/// was built with.
void requireBuild(const std::filesystem::path& file, const std::string& module);

} // namespace velto
