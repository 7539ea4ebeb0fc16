#include "Tools/Judge/Report.h"
#include "Tools/Showcase/Showcase.h"
#include "Tools/Showcase/Timeline.h"

#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string_view>

namespace fs = std::filesystem;

namespace {

void interrupt(int) { velto::Stage::isInterrupted = true; }

/// Lets the judge speak; answers its exit status.
int judge(const fs::path& program, const fs::path& folder) {
    velto::ChildProcess child(
        {program.string(), (folder / "story.json").string(), "--report", (folder / "report.json").string()},
        {{}, folder / "judge.log", true});
    while (const auto line = child.readLine(std::chrono::seconds(30)))
        std::printf("%s\n", line->c_str());
    return child.wait(std::chrono::seconds(30)).value_or(1);
}

/// Draws what the judge has heard.
void draw(const fs::path& folder) {
    std::ofstream picture(folder / "timeline.svg");
    picture << velto::timelineSVG(velto::judge::readMaterial(folder / "story.json"),
                                  velto::judge::readReport(folder / "report.json"));
    if (!picture.flush()) throw std::runtime_error("The picture can't be written");
}

} // namespace

int main(int count, char** arguments) {
    // Line by line, also into a file or a pipe.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    std::signal(SIGINT, interrupt);
    std::signal(SIGTERM, interrupt);
    std::signal(SIGHUP, interrupt);
    std::signal(SIGPIPE, SIG_IGN); // a program that died is reported by what it doesn't answer
    if (count > 2 || (count == 2 && arguments[1][0] == '-')) {
        std::printf("Usage: velto-showcase [FOLDER]\nPlays the story and leaves its results in the folder, "
                    "by default "
                    "build/showcase. An earlier showcase in it is replaced.\n");
        return count == 2 && std::string_view(arguments[1]) == "--help" ? 0 : 1;
    }
    const fs::path tools = fs::canonical("/proc/self/exe").parent_path().parent_path();
    const fs::path folder = fs::absolute(count > 1 ? arguments[1] : "build/showcase");
    try {
        // Only what an earlier showcase left may go: the folder is the user's to name.
        if (fs::exists(folder) && !fs::is_empty(folder) && !fs::exists(folder / "source.wav"))
            throw std::runtime_error(folder.string() + " holds something else; name another folder");
        fs::remove_all(folder);
        {
            std::printf("Playing the story on a private sound server; this takes a minute and a half.\n");
            velto::Stage stage({folder, tools.parent_path() / "Velto" / "velto"});
            velto::playShowcase(stage);
            stage.write();
        }
        const int status = judge(tools / "Judge" / "velto-judge", folder);
        draw(folder);
        std::printf("Recordings, report.json and timeline.svg are in %s\n", folder.c_str());
        return status;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "The showcase could not be played: %s\n", error.what());
        return 1;
    }
}
