#include "Platform/Linux/ProgramParts.h"

namespace velto {

namespace fs = std::filesystem;

fs::path programPart(const fs::path& name) {
    const fs::path folder = fs::read_symlink("/proc/self/exe").parent_path();
    for (const char* place : {"", "../lib/velto"})
        if (fs::path file = folder / place / name; fs::exists(file)) return file;
    return folder / "../lib/velto/modules" / name;
}

} // namespace velto
