// CommandLine: what the program was called with.
#pragma once

#include <string>
#include <vector>

namespace velto {

struct CommandLine {
    enum class Kind {
        /// No command: the program itself is to run.
        run,
        command,
        /// Nothing but a text, which is for standard output.
        text,
        /// Wrong: the text says what, for standard error.
        wrong,
    };

    Kind kind = Kind::run;
    bool isBackground = false;
    bool isHidden = false;
    bool isJSON = false;
    bool isNamesOnly = false;
    std::string command{}; // as in the table
    std::vector<std::string> arguments{};
    std::string text{};

    /// The words after the program's name.
    static CommandLine parse(std::vector<std::string> words);
};

} // namespace velto
