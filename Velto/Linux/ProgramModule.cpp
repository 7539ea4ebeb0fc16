#include "Velto/Linux/ProgramModule.h"

#include "Platform/Linux/ProgramParts.h"
#include "Velto/Linux/ModuleBuild.h"

#include <dlfcn.h>

#include <stdexcept>

namespace velto {

void* programSymbol(const std::string& module, const char* name) {
    const std::filesystem::path file = programPart(module + ".so");
    requireBuild(file, module);
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
