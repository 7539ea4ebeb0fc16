#include "Tests/Fuzz/FuzzTarget.h"
#include "Tests/Fuzz/FuzzedComputer.h"
#include "Velto/Commands/CommandTable.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <map>

namespace velto {

namespace {

/// Tells at the end how often each command was said, and how often done.
struct Tally {
    struct Count {
        std::size_t said = 0;
        std::size_t done = 0;
    };
    std::map<std::string_view, Count> commands;

    ~Tally() {
        for (const auto& [command, count] : commands)
            std::fprintf(stderr, "command %s: said %zu, done %zu\n", std::string(command).c_str(), count.said,
                         count.done);
    }
};
Tally tally;

std::vector<std::string> split(std::string_view text, char separator) {
    std::vector<std::string> parts{""};
    for (const char letter : text)
        letter == separator ? parts.emplace_back() : parts.back() += letter;
    return parts;
}

struct Said {
    std::string_view command;
    std::size_t number;
};

/// The command of that name; of no name, any.
const Command& commandOf(const std::string& word) {
    if (const Command* named = findCommand(word)) return *named;
    return commandTable()[word.empty() ? 0 : static_cast<unsigned char>(word[0]) % commandTable().size()];
}

/// A line is a command with its arguments, tabs between them, or a cable. What begins with "&" is not waited
/// for.
void perform(std::string_view line, FuzzedComputer& computer, std::vector<Said>& said) {
    const bool isWaitedFor = !line.starts_with('&');
    if (!isWaitedFor) line.remove_prefix(1);
    std::vector<std::string> words = split(line, '\t');
    const std::string first = words.front();
    words.erase(words.begin());
    const std::vector<std::string> outputs{"builtin", "bluetooth"};
    const bool isCable = !words.empty() && std::ranges::find(outputs, words[0]) != outputs.end();
    SimulatedAudioSystem& world = computer.machine.world;
    if (isCable && first == "pull" && world.isPlugged(words[0])) {
        computer.machine.unplug(words[0]);
    } else if (isCable && first == "put" && !world.isPlugged(words[0])) {
        computer.machine.replug(words[0]);
    } else {
        const Command& command = commandOf(first);
        const CommandRequest request{std::string(command.name), words};
        said.push_back({command.name, computer.say(request.line(), isWaitedFor)});
    }
}

} // namespace

void fuzz(std::string_view text) {
    FuzzedComputer computer;
    computer.machine.world.delaysOutputs = true;
    computer.launch();
    std::vector<Said> said;
    for (const std::string& line : split(text.substr(0, 1000), '\n'))
        if (said.size() < 12) perform(line, computer, said);
    computer.run();
    for (const auto& [command, number] : said) {
        ++tally.commands[command].said;
        const auto& answers = computer.answers(number);
        require(!answers.empty());
        if (!objectOf(answers.back())->contains("error")) ++tally.commands[command].done;
    }
}

} // namespace velto
