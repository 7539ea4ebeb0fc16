#include "Velto/Commands/CommandLine.h"

#include "Velto/Commands/CommandTable.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace velto {
namespace {

using Kind = CommandLine::Kind;
using testing::ElementsAre;
using testing::HasSubstr;
using Words = std::vector<std::string>;

/// Words that fit an argument.
std::string sample(const CommandArgument& argument) {
    const auto known = choices(argument.kind);
    if (!known.empty()) return std::string(known.back());
    return argument.kind == CommandArgument::Kind::volume ? "-5%" : "Some Name";
}

TEST(CommandLineTests, EveryCommandOfTheTableIsReadWithAllAndWithTheNeededArguments) {
    for (const Command& command : commandTable()) {
        Words name;
        for (std::string_view rest = command.name; !rest.empty();) {
            name.emplace_back(firstWord(rest));
            rest.remove_prefix(std::min(rest.size(), name.back().size() + 1));
        }
        Words all;
        Words needed;
        for (const CommandArgument& argument : command.arguments) {
            all.push_back(sample(argument));
            if (!argument.isOptional) needed.push_back(all.back());
        }
        for (const Words& arguments : {all, needed}) {
            Words words = name;
            words.insert(words.end(), arguments.begin(), arguments.end());
            words.push_back("--json");
            const CommandLine line = CommandLine::parse(words);
            EXPECT_EQ(line.kind, Kind::command) << testing::PrintToString(words) << line.text;
            EXPECT_EQ(line.command, command.name);
            EXPECT_EQ(line.arguments, arguments) << command.name;
            EXPECT_TRUE(line.isJSON);
        }
        Words tooMany = name;
        tooMany.insert(tooMany.end(), all.begin(), all.end());
        tooMany.push_back("More");
        EXPECT_EQ(CommandLine::parse(tooMany).kind, Kind::wrong) << command.name;
        if (!needed.empty()) EXPECT_EQ(CommandLine::parse(name).kind, Kind::wrong) << command.name;
    }
}

TEST(CommandLineTests, AnotherSpellingIsUnderstood) {
    EXPECT_EQ(CommandLine::parse({"presets", "favorite", "Night"}).command, "presets favourite");
}

TEST(CommandLineTests, WhatIsWrongIsSaidWithWhatMayHaveBeenMeant) {
    const std::vector<std::pair<Words, std::string>> cases{
        {{"plya", "A", "B"}, "There is no command “plya”. Did you mean “play”?"},
        {{"vol", "40%"}, "Did you mean “volume”?"},
        {{"xylophone"}, "There is no command “xylophone”. See velto --help."},
        {{"presets", "sav", "X"}, "There is no command “presets sav”. Did you mean “save”?"},
        {{"--backgruond"}, "There is no option “--backgruond”. Did you mean “--background”?"},
        {{"mute", "loud"}, "mute: "},
        {{"stop", "now"}, "stop: "},
        {{"--json"}, "--json and --names go with a command."},
        {{"stop", "--background"}, "--background and --hidden go with no command."},
        {{""}, "There is no command “”."},
        {{"--", "status"}, "A command stands before “--”, not behind it."},
        {{"--background", "--", "status"}, "A command stands before “--”, not behind it."},
    };
    for (const auto& [words, sentence] : cases) {
        const CommandLine line = CommandLine::parse(words);
        EXPECT_EQ(line.kind, Kind::wrong) << testing::PrintToString(words);
        EXPECT_THAT(line.text, HasSubstr(sentence)) << testing::PrintToString(words);
    }
}

TEST(CommandLineTests, WithoutACommandTheProgramRuns) {
    EXPECT_EQ(CommandLine::parse({}).kind, Kind::run);
    EXPECT_TRUE(CommandLine::parse({"--background"}).isBackground);
    EXPECT_TRUE(CommandLine::parse({"--hidden"}).isHidden);
    EXPECT_EQ(CommandLine::parse({"-h"}).text, CommandLine::parse({"--help"}).text);
    EXPECT_EQ(CommandLine::parse({"play", "-h"}).text, CommandLine::parse({"play", "--help"}).text);
    const CommandLine help = CommandLine::parse({"--help"});
    EXPECT_EQ(help.kind, Kind::text);
    for (const Command& command : commandTable())
        EXPECT_THAT(help.text, HasSubstr(std::string(command.help)));
    EXPECT_THAT(CommandLine::parse({"--version"}).text, HasSubstr("Velto "));
}

TEST(CommandLineTests, WordsThatLookLikeOptionsAreTakenAsTheyAreBehindTwoDashes) {
    EXPECT_THAT(CommandLine::parse({"volume", "-5%"}).arguments, ElementsAre("-5%"));
    EXPECT_THAT(CommandLine::parse({"presets", "save", "--", "--json"}).arguments, ElementsAre("--json"));
}

} // namespace
} // namespace velto
