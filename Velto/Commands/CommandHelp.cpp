#include "Velto/Commands/CommandHelp.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace velto {

namespace {

using Rows = std::vector<std::pair<std::string, std::string_view>>;

std::string inColumns(const Rows& rows) {
    std::size_t width = 0;
    for (const auto& [left, right] : rows)
        width = std::max(width, left.size());
    std::string text;
    for (const auto& [left, right] : rows)
        text += fmt::format("  {:{}}  {}\n", left, width, right);
    return text;
}

Rows commandRows(std::string_view prefix) {
    Rows rows;
    for (const Command& command : commandTable())
        if (command.name == prefix || command.name.starts_with(fmt::format("{} ", prefix)) || prefix.empty())
            rows.emplace_back(call(command), command.help);
    return rows;
}

Rows optionRows(bool isOfCommands) {
    Rows rows;
    for (const CommandOption& option : commandOptions())
        if (option.isOfCommands == isOfCommands) rows.emplace_back(option.name, option.help);
    return rows;
}

} // namespace

std::string call(const Command& command) {
    std::string text(command.name);
    for (const CommandArgument& argument : command.arguments) {
        const auto words = choices(argument.kind);
        const std::string name =
            words.empty() ? std::string(argument.name) : fmt::format("{}", fmt::join(words, "|"));
        text += fmt::format(fmt::runtime(argument.isOptional ? " [{}]" : " {}"), name);
    }
    return text;
}

std::string helpText(std::string_view command) {
    if (const Rows rows = command.empty() ? Rows() : commandRows(command); !rows.empty())
        return "velto\n" + inColumns(rows) + "\n" + inColumns(optionRows(true));
    return "Velto plays a computer's sound on two outputs at the same time.\n\n"
           "velto            Run, or bring up the panel of the one that runs\n"
           "velto COMMAND    Command the one that runs\n\nCommands:\n" +
           inColumns(commandRows("")) +
           "\nA, B and OUTPUT are an output's name, a part of it that only one has, or its UID; A alone may "
           "be a preset's name.\n"
           "\nWith a command:\n" +
           inColumns(optionRows(true)) + "\nWithout one:\n" + inColumns(optionRows(false));
}

} // namespace velto
