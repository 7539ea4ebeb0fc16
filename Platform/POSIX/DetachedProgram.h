// Starts programs that go on when this one has ended.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

namespace velto {

/// In a session of its own, with nothing to read and nowhere to write. The process is the caller's to wait
/// for, unless it ends before. Throws std::runtime_error.
pid_t startDetached(const std::filesystem::path& program, std::vector<std::string> arguments);

} // namespace velto
