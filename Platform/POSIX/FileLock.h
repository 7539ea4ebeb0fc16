// FileLock: tells other programs that something is in use. It goes with the process, however that ends.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace velto {

class FileLock {
  public:
    /// Tries to take the lock of that file, which is made for the user alone; its folder must exist. One that
    /// belongs to another user, in a folder of one's own, is made anew.
    explicit FileLock(std::filesystem::path file);
    FileLock(FileLock&& other) noexcept;
    FileLock& operator=(FileLock&& other) noexcept;
    ~FileLock();

    bool isTaken() const noexcept { return descriptor_ >= 0; }
    bool isHeldByAnother() const noexcept { return !isTaken() && !failure_; }
    /// Why there is no lock to be had here; absent when this or another program has it.
    const std::optional<std::string>& failure() const noexcept { return failure_; }
    const std::filesystem::path& file() const noexcept { return file_; }

    /// What the holder of that file's lock has last said to others; empty at first, and where there is none.
    static std::string note(const std::filesystem::path& file);
    /// For its holder.
    void setNote(std::string_view note) const;

  private:
    std::filesystem::path file_;
    int descriptor_ = -1;
    std::optional<std::string> failure_;
};

} // namespace velto
