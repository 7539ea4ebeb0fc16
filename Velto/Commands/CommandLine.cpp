#include "Velto/Commands/CommandLine.h"

#include "Velto/Commands/CommandHelp.h"
#include "Velto/Commands/CommandTable.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <numeric>
#include <string_view>
#include <utility>

namespace velto {

namespace {

constexpr std::size_t mostTypos = 3;

/// How many letters are to be changed, put in or left out to make one the other.
std::size_t distance(std::string_view one, std::string_view other) {
    std::vector<std::size_t> row(other.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < one.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < other.size(); ++j) {
            const std::size_t changed = diagonal + (one[i] == other[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

/// What may have been meant; empty when nothing is near.
std::string_view nearest(std::string_view word, const std::vector<std::string_view>& known) {
    std::string_view best;
    std::size_t least = std::min(mostTypos, word.size() / 2 + 1);
    for (const std::string_view candidate : known) {
        const std::size_t typos = candidate.starts_with(word) ? 1 : distance(word, candidate);
        if (typos < least) {
            least = typos;
            best = candidate;
        }
    }
    return best;
}

std::string suggestion(std::string_view word, const std::vector<std::string_view>& known) {
    const std::string_view meant = nearest(word, known);
    return meant.empty() ? "See velto --help." : fmt::format("Did you mean “{}”?", meant);
}

/// The parser of one command line, from the table.
class Parser {
  public:
    Parser() {
        app_.set_help_flag("-h,--help", "");
        app_.set_version_flag("--version", "Velto " VELTO_VERSION);
        for (const CommandOption& option : commandOptions())
            if (option.name != "--help" && option.name != "--version")
                app_.add_flag(std::string(option.name), flags_[option.name]);
        app_.fallthrough();
        for (const Command& command : commandTable())
            add(command);
    }

    CommandLine parse(std::vector<std::string> words) {
        CommandLine line;
        std::vector<std::string> reversed(words.rbegin(), words.rend());
        try {
            app_.parse(std::move(reversed));
        } catch (const CLI::CallForHelp&) {
            const auto named =
                std::ranges::find_if(words, [](const auto& word) { return findCommand(word); });
            return {.kind = CommandLine::Kind::text,
                    .text = named == words.end() ? helpText() : helpText(*named)};
        } catch (const CLI::CallForVersion& version) {
            return {.kind = CommandLine::Kind::text, .text = std::string(version.what()) + "\n"};
        } catch (const CLI::ParseError& error) {
            return {.kind = CommandLine::Kind::wrong, .text = complaint(error, words)};
        }
        return read();
    }

  private:
    void add(const Command& command) {
        CLI::App* parent = &app_;
        std::string_view word = command.name;
        if (const auto space = word.find(' '); space != std::string_view::npos) {
            parent = app_.get_subcommand(std::string(word.substr(0, space)));
            word.remove_prefix(space + 1);
        }
        CLI::App* added = parent->add_subcommand(std::string(word));
        if (!command.alias.empty()) added->alias(std::string(command.alias));
        added->set_help_flag("-h,--help");
        added->fallthrough();
        std::vector<std::string>& values = arguments_[added];
        values.resize(command.arguments.size());
        for (std::size_t index = 0; index < values.size(); ++index) {
            const CommandArgument& argument = command.arguments[index];
            CLI::Option* option = added->add_option(std::string(argument.name), values[index]);
            option->required(!argument.isOptional)->allow_extra_args(false);
            for (const std::string_view choice : choices(argument.kind))
                choices_[option].emplace_back(choice);
            if (choices_.contains(option)) option->check(CLI::IsMember(choices_[option]));
        }
    }

    CommandLine read() {
        CommandLine line{.isBackground = flags_["--background"],
                         .isHidden = flags_["--hidden"],
                         .isJSON = flags_["--json"],
                         .isNamesOnly = flags_["--names"]};
        for (CLI::App* app = &app_; !app->get_subcommands().empty();) {
            app = app->get_subcommands().front();
            line.kind = CommandLine::Kind::command;
            line.command += (line.command.empty() ? "" : " ") + app->get_name();
            line.arguments.clear();
            for (std::size_t index = 0; index < arguments_[app].size(); ++index)
                if (app->get_options()[index + 1]->count() > 0) // the first one is the help's
                    line.arguments.push_back(arguments_[app][index]);
        }
        return checked(std::move(line));
    }

    static CommandLine checked(CommandLine line) {
        const bool isCommand = line.kind == CommandLine::Kind::command;
        if (isCommand && (line.isBackground || line.isHidden))
            return {.kind = CommandLine::Kind::wrong,
                    .text = "--background and --hidden go with no command."};
        if (!isCommand && (line.isJSON || line.isNamesOnly))
            return {.kind = CommandLine::Kind::wrong, .text = "--json and --names go with a command."};
        return line;
    }

    std::string complaint(const CLI::ParseError& error, const std::vector<std::string>& words) const {
        std::vector<std::string_view> known;
        std::vector<std::string_view> options;
        for (const Command& command : commandTable())
            if (firstWord(command.name) == command.name) known.push_back(command.name);
        for (const CommandOption& option : commandOptions())
            options.push_back(option.name);
        for (const std::string& word : words) {
            if (word.starts_with("--") && std::ranges::find(options, word) == options.end())
                return fmt::format("There is no option “{}”. {}", word, suggestion(word, options));
            if (word.starts_with('-')) continue;
            if (!findCommand(word))
                return fmt::format("There is no command “{}”. {}", word, suggestion(word, known));
            return complaint(error, word, words);
        }
        return std::string(error.what()) + ". See velto --help.";
    }

    /// Of a command that there is.
    static std::string complaint(const CLI::ParseError& error, const std::string& command,
                                 const std::vector<std::string>& words) {
        const std::string prefix = command + " ";
        std::vector<std::string_view> known;
        for (const Command& entry : commandTable())
            if (entry.name.starts_with(prefix)) known.push_back(entry.name.substr(prefix.size()));
        const auto own = std::ranges::find(words, command);
        const auto next = std::find_if(own + 1, words.end(), [](const auto& word) { return word[0] != '-'; });
        if (next != words.end() && !known.empty() && std::ranges::find(known, *next) == known.end())
            return fmt::format("There is no command “{} {}”. {}", command, *next, suggestion(*next, known));
        return fmt::format("{}: {}. See velto --help.", command, error.what());
    }

    CLI::App app_{"", "velto"};
    std::map<std::string_view, bool> flags_;
    std::map<const CLI::App*, std::vector<std::string>> arguments_;
    std::map<const CLI::Option*, std::vector<std::string>> choices_;
};

} // namespace

/// A start that is no command: what runs for days is not to hold what reads all the others.
CommandLine CommandLine::parse(std::vector<std::string> words) {
    if (words.empty()) return {};
    if (words == std::vector<std::string>{"--hidden"}) return {.isHidden = true};
    if (words == std::vector<std::string>{"--background"}) return {.isBackground = true};
    // What follows them is an argument of a command; without one the parser leaves it unread.
    const auto dashes = std::ranges::find(words, "--");
    if (dashes != words.end() && std::none_of(words.begin(), dashes, findCommand))
        return {.kind = CommandLine::Kind::wrong, .text = "A command stands before “--”, not behind it."};
    return Parser().parse(std::move(words));
}

} // namespace velto
