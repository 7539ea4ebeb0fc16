// ProgramPlaces: where the program is, and where it can be found while it runs.
#pragma once

#include <filesystem>

namespace velto {

struct ProgramPlaces {
    ProgramPlaces() = delete;

    /// As it was called: by a link, where there is one.
    static std::filesystem::path calledProgram();
    /// In a folder of the user's own that the system, unlike the one for temporary files, doesn't tidy up.
    static std::filesystem::path lockFile();
};

} // namespace velto
