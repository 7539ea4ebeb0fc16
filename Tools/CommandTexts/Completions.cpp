#include "Tools/CommandTexts/Completions.h"

#include "Velto/Commands/CommandTable.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <vector>

namespace velto {

namespace {

using Kind = CommandArgument::Kind;

/// What prints the words that may stand for an argument, one a line; empty where anything may.
std::string source(Kind kind) {
    constexpr const char* ask = "velto {} --names 2>/dev/null";
    switch (kind) {
    case Kind::output:
        return fmt::format(fmt::runtime(ask), "outputs");
    case Kind::input:
        return fmt::format(fmt::runtime(ask), "inputs");
    case Kind::preset:
        return fmt::format(fmt::runtime(ask), "presets");
    case Kind::outputOrPreset:
        return source(Kind::output) + "; " + source(Kind::preset);
    case Kind::settingKey:
        return fmt::format(fmt::runtime(ask), "settings");
    default:
        break;
    }
    const auto words = choices(kind);
    return words.empty() ? "" : fmt::format("printf '%s\\n' {}", fmt::join(words, " "));
}

/// What may follow the words: "" for the first, else a command of the table that begins so.
std::vector<std::string_view> wordsBehind(std::string_view prefix) {
    std::vector<std::string_view> words;
    for (const Command& command : commandTable()) {
        if (prefix.empty() && firstWord(command.name) == command.name) words.push_back(command.name);
        if (!prefix.empty() && command.name.starts_with(prefix) && command.name.size() > prefix.size() &&
            command.name[prefix.size()] == ' ')
            words.push_back(command.name.substr(prefix.size() + 1));
    }
    return words;
}

std::string options(bool isOfCommands) {
    std::vector<std::string_view> names;
    for (const CommandOption& option : commandOptions())
        if (option.isOfCommands == isOfCommands) names.push_back(option.name);
    return fmt::format("{}", fmt::join(names, " "));
}

/// The branches of a case by the words so far, such as "presets rename 2": each prints words, one a line.
std::string branches() {
    std::string text = fmt::format("        ' 0') printf '%s\\n' {} {} ;;\n", fmt::join(wordsBehind(""), " "),
                                   options(false));
    for (const Command& command : commandTable()) {
        if (const auto words = wordsBehind(command.name); !words.empty())
            text += fmt::format("        '{} 0') printf '%s\\n' {} {} ;;\n", command.name,
                                fmt::join(words, " "), options(true));
        for (std::size_t index = 0; index < command.arguments.size(); ++index)
            if (const std::string words = source(command.arguments[index].kind); !words.empty())
                text += fmt::format("        '{} {}') {} ;;\n", command.name, index, words);
    }
    return text;
}

/// A function of bash and zsh: prints what may stand behind the words given to it, one a line.
std::string wordsFunction() {
    std::vector<std::string_view> groups;
    for (const Command& command : commandTable())
        if (!wordsBehind(command.name).empty()) groups.push_back(command.name);
    return fmt::format(R"(_velto_words() {{
    local command= count=0 word
    for word in "$@"; do
        case $word in -*) continue ;; esac
        if [ -z "$command" ]; then
            command=$word
        else
            case "$count $command" in
                {}) command="$command $word" ;;
                *) count=$((count + 1)) ;;
            esac
        fi
    done
    case "$command $count" in
{}        *) printf '%s\n' {} ;;
    esac
}}
)",
                       fmt::format("'0 {}'", fmt::join(groups, "' | '0 ")), branches(), options(true));
}

} // namespace

std::string bashCompletion() {
    return "# Completion of velto for bash.\n" + wordsFunction() + R"sh(_velto() {
    local current=${COMP_WORDS[COMP_CWORD]} word quoted
    COMPREPLY=()
    while IFS= read -r word; do
        printf -v quoted %q "$word"
        case $word in "$current"*) COMPREPLY+=("$quoted") ;; *) case $quoted in "$current"*) COMPREPLY+=("$quoted") ;; esac ;; esac
    done < <(_velto_words "${COMP_WORDS[@]:1:COMP_CWORD-1}")
}
complete -F _velto velto
)sh";
}

std::string zshCompletion() {
    return "#compdef velto\n# Completion of velto for zsh.\n" + wordsFunction() + R"(local -a found
found=("${(@f)$(_velto_words "${(@Q)words[2,CURRENT-1]}")}")
compadd -a found
)";
}

std::string fishCompletion() {
    std::string text = "# Completion of velto for fish.\ncomplete -c velto -f\n";
    for (const CommandOption& option : commandOptions())
        text += fmt::format("complete -c velto -n '{}__fish_use_subcommand' -l {} -d \"{}\"\n",
                            option.isOfCommands ? "not " : "", option.name.substr(2), option.help);
    for (const Command& command : commandTable()) {
        const std::string_view group = firstWord(command.name);
        if (group == command.name) {
            text += fmt::format("complete -c velto -n __fish_use_subcommand -a {} -d \"{}\"\n", group,
                                command.help);
        } else {
            text += fmt::format(
                "complete -c velto -n '__fish_seen_subcommand_from {0}; and test (count (commandline "
                "-opc)) -eq 2' -a {1} -d \"{2}\"\n",
                group, command.name.substr(group.size() + 1), command.help);
        }
        const std::size_t before = group == command.name ? 2 : 3;
        for (std::size_t index = 0; index < command.arguments.size(); ++index)
            if (const std::string words = source(command.arguments[index].kind); !words.empty())
                text += fmt::format(
                    "complete -c velto -n 'string match -q \"velto {}*\" (commandline -opc | string "
                    "join \" \"); and test (count (commandline -opc)) -eq {}' -a \"({})\"\n",
                    command.name, before + index, words);
    }
    return text;
}

} // namespace velto
