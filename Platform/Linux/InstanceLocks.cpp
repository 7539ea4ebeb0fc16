#include "Platform/Linux/InstanceLocks.h"

#include "Platform/Linux/FileUserDefaults.h"

#include <cstdlib>

namespace velto {

SingleInstance::LockFiles InstanceLocks::of(const std::filesystem::path& settingsFile,
                                            const std::optional<std::filesystem::path>& runtimeFolder) {
    SingleInstance::LockFiles files;
    if (runtimeFolder) files.push_back(*runtimeFolder / "com.corlent.velto.lock");
    files.push_back(FileUserDefaults::lockFile(settingsFile));
    return files;
}

SingleInstance::LockFiles InstanceLocks::standard() {
    const char* folder = std::getenv("XDG_RUNTIME_DIR");
    const bool isSet = folder && *folder == '/';
    return of(FileUserDefaults::standardFile(),
              isSet ? std::optional<std::filesystem::path>(folder) : std::nullopt);
}

} // namespace velto
