#include "Tools/SoundLab/OwnedFolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>
#include <system_error>

namespace velto {

namespace fs = std::filesystem;

namespace {

constexpr const char* lockName = "owner";

/// A folder without a lock is about to get one: it is left alone.
void removeIfLeftOver(const fs::path& folder) {
    const int lock = open((folder / lockName).c_str(), O_RDONLY | O_CLOEXEC);
    if (lock < 0) return;
    std::error_code error;
    if (flock(lock, LOCK_EX | LOCK_NB) == 0) fs::remove_all(folder, error);
    close(lock);
}

} // namespace

OwnedFolder::OwnedFolder(const std::string& prefix) {
    std::error_code error;
    for (const auto& entry : fs::directory_iterator("/tmp", error))
        if (entry.path().filename().string().starts_with(prefix + "-")) removeIfLeftOver(entry.path());

    std::string pattern = "/tmp/" + prefix + "-XXXXXX";
    if (!mkdtemp(pattern.data())) throw std::runtime_error("No folder could be made in /tmp");
    path_ = pattern;
    // Locked before it gets its name, so that nobody finds it free.
    const fs::path unnamed = path_ / "owner.new";
    lock_ = open(unnamed.c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0600);
    flock(lock_, LOCK_EX | LOCK_NB);
    fs::rename(unnamed, path_ / lockName, error);
}

OwnedFolder::~OwnedFolder() {
    std::error_code error;
    fs::remove_all(path_, error);
    close(lock_);
}

} // namespace velto
