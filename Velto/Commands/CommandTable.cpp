#include "Velto/Commands/CommandTable.h"

#include <algorithm>

namespace velto {

using Kind = CommandArgument::Kind;

const std::vector<Command>& commandTable() {
    static const std::vector<Command> table{
        {"outputs", {}, "List the outputs that may be chosen"},
        {"status", {}, "Tell what plays, with volumes, and what is wrong"},
        {"watch", {}, "Tell the same in one line at each change, until ended"},
        {"play",
         {{"A", Kind::outputOrPreset}, {"B", Kind::output, true}},
         "Play together on two outputs, or on those of a preset"},
        {"stop", {}, "Stop playing together; the output from before plays"},
        {"toggle", {}, "Stop when something plays; else play on the outputs that the panel shows"},
        {"reconnect", {}, "Make the session that plays anew"},
        {"answer", {{"ANSWER", Kind::keepStop}}, "Answer what to do about a lost output"},
        {"reset", {}, "Stop, and remove whatever is left of this or an earlier session"},
        {"volume",
         {{"VOLUME", Kind::volume}, {"OUTPUT", Kind::output, true}},
         "Set the volume of all that play, or of one: 40%, +5%, -5%"},
        {"mute",
         {{"STATE", Kind::onOffToggle}, {"OUTPUT", Kind::output, true}},
         "Mute all that play, or one"},
        {"delay",
         {{"DELAY", Kind::delay}, {"OUTPUT", Kind::output}},
         "Have an output heard later than it would be, in milliseconds: 180, +5, -0.1"},
        {"inputs", {}, "List the microphones that outputs can be measured with"},
        {"align",
         {{"INPUT", Kind::input, true}},
         "Measure the outputs with a microphone, and delay the earlier one"},
        {"presets", {}, "List the saved setups"},
        {"presets save", {{"NAME"}}, "Save what plays as a preset"},
        {"presets rename", {{"PRESET", Kind::preset}, {"NAME"}}, "Rename a preset"},
        {"presets delete", {{"PRESET", Kind::preset}}, "Delete a preset"},
        {"presets favourite",
         {{"PRESET", Kind::preset}, {"STATE", Kind::onOff, true}},
         "Make a preset a favourite, or no more",
         "favorite"},
        {"presets auto-connect",
         {{"PRESET", Kind::preset}, {"STATE", Kind::onOff, true}},
         "Start a preset by itself once its outputs are there, or no more"},
        {"settings", {}, "List the settings with their values"},
        {"settings get", {{"KEY", Kind::settingKey}}, "Tell the value of a setting"},
        {"settings set", {{"KEY", Kind::settingKey}, {"VALUE"}}, "Change a setting"},
        {"test", {}, "Play a click, to hear whether the outputs are in step"},
        {"quit", {}, "End the program that runs; the outputs from before are put back"},
    };
    return table;
}

const std::vector<CommandOption>& commandOptions() {
    static const std::vector<CommandOption> options{
        {"--json", "Answer as one JSON object a line", true},
        {"--names", "Of a list only the names, one a line", true},
        {"--background", "Run without windows, also where there is a display"},
        {"--hidden", "Run and open no window, also where there is no status area"},
        {"--help", "Tell how it is called"},
        {"--version", "Tell the version"},
    };
    return options;
}

std::vector<std::string_view> choices(Kind kind) {
    switch (kind) {
    case Kind::onOff:
        return {"on", "off"};
    case Kind::onOffToggle:
        return {"on", "off", "toggle"};
    case Kind::keepStop:
        return {"keep", "stop"};
    default:
        return {};
    }
}

const Command* findCommand(std::string_view name) {
    const auto found = std::ranges::find(commandTable(), name, &Command::name);
    return found == commandTable().end() ? nullptr : &*found;
}

std::string_view firstWord(std::string_view name) { return name.substr(0, name.find(' ')); }

} // namespace velto
