// Starts programs that go on when this one has ended.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace velto {

/// In a session of its own, with nothing to read and nowhere to write. Throws std::runtime_error.
void startDetached(const std::filesystem::path& program, std::vector<std::string> arguments);

} // namespace velto
