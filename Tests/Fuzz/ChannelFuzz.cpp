#include "Tests/Fuzz/FuzzTarget.h"
#include "Tests/Fuzz/FuzzedComputer.h"

namespace velto {

/// What programs of the same user send, each line as another one.
void fuzz(std::string_view text) {
    FuzzedComputer computer;
    computer.launch();
    for (int lines = 0; lines < 8 && !text.empty(); ++lines) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        computer.say(std::string(line));
    }
}

} // namespace velto
