// velto-judge: decides from recordings alone what each output was heard to play.
//
// Exit status: 0 when every step of the story passes, 1 when one falls short, 2 when nothing could be judged.
#include "Tools/Judge/JudgeCommand.h"

#include <CLI/CLI.hpp>

#include <exception>
#include <iostream>

int main(int argc, char** argv) {
    using velto::judge::JudgeCommand;
    constexpr int unusable = static_cast<int>(JudgeCommand::Status::unusable);

    JudgeCommand command;
    CLI::App app("Decides from recordings alone what each output was heard to play.", "velto-judge");
    app.add_option("story", command.story, "What was done, when, and what was due (JSON)")->required();
    app.add_option("--report", command.report, "Write the figures here (JSON)");
    try {
        app.parse(argc, argv);
        return static_cast<int>(command.run(std::cout, std::cerr));
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) return app.exit(error); // --help
        std::cerr << "velto-judge: " << error.what() << "; --help tells how it is used.\n";
        return unusable;
    } catch (const std::exception& error) {
        std::cerr << "velto-judge: " << error.what() << "\n";
        return unusable;
    }
}
