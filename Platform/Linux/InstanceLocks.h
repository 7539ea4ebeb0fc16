// InstanceLocks: the files by whose locks one running program knows of another.
#pragma once

#include "Platform/POSIX/SingleInstance.h"

#include <filesystem>
#include <optional>

namespace velto {

struct InstanceLocks {
    InstanceLocks() = delete;

    /// One in the session's runtime folder, where there is such a folder, and one beside the settings: no two
    /// programs share a file of settings, and none has the sound of another's session.
    static SingleInstance::LockFiles of(const std::filesystem::path& settingsFile,
                                        const std::optional<std::filesystem::path>& runtimeFolder);
    /// Of the user's settings, and of `$XDG_RUNTIME_DIR` where it is set.
    static SingleInstance::LockFiles standard();
};

} // namespace velto
