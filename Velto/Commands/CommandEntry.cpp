#include "Velto/Commands/CommandEntry.h"

#include <cstdio>
#include <utility>

namespace velto {

int runWords(std::vector<std::string> words, const CommandEntry& entry) {
    const CommandLine line = CommandLine::parse(std::move(words));
    switch (line.kind) {
    case CommandLine::Kind::run:
        return entry.runProgram(line);
    case CommandLine::Kind::command:
        return entry.makeClient().perform(line);
    case CommandLine::Kind::text:
        return std::fputs(line.text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0 ? 0 : 1;
    case CommandLine::Kind::wrong:
        std::fprintf(stderr, "velto: %s\n", line.text.c_str());
        return 2;
    }
    return 2;
}

} // namespace velto
