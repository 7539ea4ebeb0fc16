#include "Velto/Linux/ProgramModule.h"

#include <dlfcn.h>

#include <filesystem>
#include <stdexcept>

namespace velto {

namespace fs = std::filesystem;

void* programSymbol(const std::string& module, const char* name) {
    const fs::path folder = fs::read_symlink("/proc/self/exe").parent_path();
    fs::path file = folder / (module + ".so");
    if (!fs::exists(file)) file = folder / "../lib/velto" / (module + ".so");
    void* loaded = dlopen(file.c_str(), RTLD_NOW | RTLD_GLOBAL);
    void* symbol = loaded ? dlsym(loaded, name) : nullptr;
    if (!symbol) {
        const char* reason = dlerror();
        throw std::runtime_error("A part of the program could not be loaded: " +
                                 std::string(reason ? reason : file.native()));
    }
    return symbol;
}

} // namespace velto
