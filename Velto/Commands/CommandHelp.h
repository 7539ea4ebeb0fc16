// What `--help` says, made from the table of commands.
#pragma once

#include "Velto/Commands/CommandTable.h"

#include <string>
#include <string_view>

namespace velto {

/// How the command is written, such as "play A [B]".
std::string call(const Command& command);
/// Of the command of that name and those under it; of the program where there is none.
std::string helpText(std::string_view command = {});

} // namespace velto
