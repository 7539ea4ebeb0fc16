// The one table of what may be said to the program. What reads a command line, its help, the manual page and
// the completions of the shells are made from it.
#pragma once

#include <string_view>
#include <vector>

namespace velto {

struct CommandArgument {
    enum class Kind {
        /// The UID or the name of an output, or the part of a name that only one has.
        output,
        /// The name of a preset.
        preset,
        outputOrPreset,
        /// The UID or the name of a microphone, likewise.
        input,
        /// Such as "40%", "+5%" or "-5%".
        volume,
        /// Such as "180", "+5" or "-0.1".
        delay,
        onOff,
        onOffToggle,
        keepStop,
        settingKey,
        /// Anything.
        text,
    };
    std::string_view name;
    Kind kind = Kind::text;
    bool isOptional = false;
};

struct Command {
    /// One word, or two such as "presets save".
    std::string_view name;
    std::vector<CommandArgument> arguments;
    std::string_view help;
    /// Its last word, spelt as others do; it is listed nowhere.
    std::string_view alias = {};
};

struct CommandOption {
    /// With its dashes.
    std::string_view name;
    std::string_view help;
    /// It goes with a command; else it stands alone.
    bool isOfCommands = false;
};

const std::vector<Command>& commandTable();
const std::vector<CommandOption>& commandOptions();
/// The words that may stand for an argument of that kind; empty where that isn't known beforehand.
std::vector<std::string_view> choices(CommandArgument::Kind kind);
/// Null when there is none of that name.
const Command* findCommand(std::string_view name);
/// "presets" of "presets save".
std::string_view firstWord(std::string_view name);

} // namespace velto
