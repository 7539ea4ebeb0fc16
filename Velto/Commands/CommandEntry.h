// What the program's entry point does with what it was called with, on every platform.
#pragma once

#include "Velto/Commands/CommandClient.h"
#include "Velto/Commands/CommandLine.h"

#include <functional>
#include <string>
#include <vector>

namespace velto {

/// How a platform runs the program, and asks the one that runs.
struct CommandEntry {
    std::function<int(const CommandLine& line)> runProgram;
    std::function<CommandClient()> makeClient;
};

/// Does what the words after the program's name say: the exit status.
int runWords(std::vector<std::string> words, const CommandEntry& entry);

} // namespace velto
