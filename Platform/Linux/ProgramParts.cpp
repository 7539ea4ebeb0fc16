#include "Platform/Linux/ProgramParts.h"

namespace velto {

namespace fs = std::filesystem;

fs::path programPart(const fs::path& name) {
    const fs::path folder = fs::read_symlink("/proc/self/exe").parent_path();
    fs::path file = folder / name;
    return fs::exists(file) ? file : folder / "../lib/velto" / name;
}

} // namespace velto
