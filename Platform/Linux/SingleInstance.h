// SingleInstance: one running program for one file of settings, and one a user's session; a second start
// raises the first.
//
// Made early in main(). The first one holds a lock beside the file, and one in the session's runtime folder
// where there is such a folder, and listens on a socket of which the locks tell; all go with the process,
// however it ends. Nothing that is wrong with a place keeps the program from starting.
#pragma once

#include "Platform/Linux/FileDescriptorWatcher.h"
#include "Platform/Linux/FileLock.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velto {

class SingleInstance {
  public:
    /// The folder of the settings is made.
    SingleInstance(const std::filesystem::path& settingsFile,
                   const std::optional<std::filesystem::path>& runtimeFolder);
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;
    ~SingleInstance();

    /// `$XDG_RUNTIME_DIR`; none where it isn't set.
    static std::optional<std::filesystem::path> runtimeFolder();

    bool isFirst() const noexcept { return isFirst_; }
    /// What could not be done, in sentences; empty as a rule.
    const std::vector<std::string>& troubles() const noexcept { return troubles_; }
    /// For the first one: calls the handler whenever the program is started again. Once; the
    /// watcher must outlive this.
    void observeRaise(FileDescriptorWatcher& watcher, std::function<void()> handler);
    /// For a later one: false when the first doesn't answer in time.
    bool raiseFirst(std::chrono::milliseconds patience = std::chrono::seconds(2)) const;

  private:
    void listen(const std::vector<std::filesystem::path>& folders);

    std::vector<FileLock> locks_; // in a later one, those that the first holds
    bool isFirst_ = true;
    std::vector<std::string> troubles_;
    std::filesystem::path socket_; // empty where there is none
    int listener_ = -1;
    FileDescriptorWatcher* watcher_ = nullptr;
};

} // namespace velto
