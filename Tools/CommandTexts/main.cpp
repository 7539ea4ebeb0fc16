// velto-command-texts VERSION FOLDER: writes the manual page and the completions into the folder.
#include "Tools/CommandTexts/Completions.h"
#include "Tools/CommandTexts/ManualPage.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

int main(int count, char** arguments) {
    if (count != 3) return 2;
    const std::filesystem::path folder = arguments[2];
    std::filesystem::create_directories(folder);
    const auto write = [&](const char* name, const std::string& text) {
        std::ofstream file(folder / name, std::ios::binary);
        file << text;
        return file.flush().good();
    };
    const bool isWritten =
        write("velto.1", velto::manualPage(arguments[1])) && write("velto.bash", velto::bashCompletion()) &&
        write("_velto", velto::zshCompletion()) && write("velto.fish", velto::fishCompletion());
    if (!isWritten)
        std::fprintf(stderr, "velto-command-texts: nothing could be written to %s\n", arguments[2]);
    return isWritten ? 0 : 1;
}
