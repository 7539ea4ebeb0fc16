#include "Tools/CommandTexts/ManualPage.h"

#include "Velto/Commands/CommandTable.h"

#include <fmt/format.h>

namespace velto {

namespace {

/// A dash in roff is a hyphen unless it is told otherwise.
std::string escaped(std::string_view text) {
    std::string result;
    for (const char letter : text)
        result += letter == '-' ? "\\-" : std::string(1, letter);
    return result;
}

std::string entry(std::string_view call, std::string_view help) {
    return fmt::format(".TP\n{}\n{}.\n", call, escaped(help));
}

std::string commands() {
    std::string text;
    for (const Command& command : commandTable()) {
        std::string call = fmt::format(".B {}", escaped(command.name));
        if (!command.arguments.empty()) call = fmt::format(".BR \"{}\"", escaped(command.name));
        for (const CommandArgument& argument : command.arguments)
            call += fmt::format(" \" {}\\fI{}\\fP{}\"", argument.isOptional ? "[" : "", argument.name,
                                argument.isOptional ? "]" : "");
        text += entry(call, command.help);
    }
    return text;
}

std::string options() {
    std::string text;
    for (const CommandOption& option : commandOptions())
        text += entry(".B " + escaped(option.name), option.help);
    return text;
}

} // namespace

std::string manualPage(std::string_view version) {
    return fmt::format(R"(.TH VELTO 1 "November 2026" "Velto {}" "User Commands"
.SH NAME
velto \- play the computer's sound on two outputs at once
.SH SYNOPSIS
.B velto
.RB [ \-\-background | \-\-hidden ]
.br
.B velto
.I COMMAND
.RI [ ARGUMENT ...]
.RB [ \-\-json | \-\-names ]
.SH DESCRIPTION
Velto plays all that a computer plays on two audio outputs at the same time.
It lives in the status area of the desktop: click its item, pick two outputs, and press Play Together.
Where the desktop has no status area, the panel is an ordinary window; where there is no display, it runs without windows.
.PP
Only one instance runs: starting it again shows the panel of the first, and one without windows opens them on the display of
the second start. However it ends, the outputs that were in use before are put back; what a killed one left behind is cleared
up when Velto next starts.
.PP
With a command it asks the one that runs, and waits until what was asked for is so; to interrupt it only ends the waiting.
An output is named by its UID, its name, or the part of a name that only one output has. When none runs,
.B play
starts one and opens no window.
.SH COMMANDS
{}.SH OPTIONS
{}.SH FILES
.TP
.I ~/.config/velto/defaults.json
Settings and presets. Copies from earlier starts are beside it.
.TP
.I ~/.config/autostart/com.corlent.velto.desktop
Present while Velto starts at login.
.SH EXIT STATUS
0 when it is done, also when the program was told to quit or was running already; 1 when it could not be done, with a
sentence on standard error; 2 when it was called wrongly.
.SH SEE ALSO
.BR pipewire (1)
)",
                       version, commands(), options());
}

} // namespace velto
