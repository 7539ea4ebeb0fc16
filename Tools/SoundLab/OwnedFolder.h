// OwnedFolder: a temporary folder that goes with its owner, even with one that was killed.
//
// The owner holds a lock in it, which the kernel ends with the process: a folder whose lock is free is a
// left-over, and the next one of its kind removes it.
#pragma once

#include <filesystem>
#include <string>

namespace velto {

class OwnedFolder {
  public:
    /// Makes /tmp/PREFIX-XXXXXX, after removing left-overs with that prefix. Throws std::runtime_error.
    explicit OwnedFolder(const std::string& prefix);
    OwnedFolder(const OwnedFolder&) = delete;
    OwnedFolder& operator=(const OwnedFolder&) = delete;
    ~OwnedFolder();

    const std::filesystem::path& path() const noexcept { return path_; }

  private:
    std::filesystem::path path_;
    int lock_ = -1;
};

} // namespace velto
