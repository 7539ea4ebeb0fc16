// SingleInstance: one running program a user and session; a second start raises the first.
//
// Made early in main(). The first one holds a lock in the user's runtime folder and listens on a socket
// beside it; both go with the process, however it ends.
#pragma once

#include "Platform/Linux/FileDescriptorWatcher.h"

#include <chrono>
#include <filesystem>
#include <functional>

namespace velto {

class SingleInstance {
  public:
    /// Lock and socket lie in the folder, which must exist. Throws std::system_error when they can't be made.
    explicit SingleInstance(std::filesystem::path folder);
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;
    ~SingleInstance();

    /// `$XDG_RUNTIME_DIR`, else the folder of the user's settings, which is made.
    static std::filesystem::path standardFolder();

    bool isFirst() const noexcept { return listener_ >= 0; }
    /// For the first one: calls the handler whenever the program is started again. Once; the
    /// watcher must outlive this.
    void observeRaise(FileDescriptorWatcher& watcher, std::function<void()> handler);
    /// For a later one: false when the first doesn't answer in time.
    bool raiseFirst(std::chrono::milliseconds patience = std::chrono::seconds(2)) const;

  private:
    void listen();
    void closeAll() noexcept;

    std::filesystem::path socket_;
    int lock_ = -1;
    int listener_ = -1; // none in a later one
    FileDescriptorWatcher* watcher_ = nullptr;
};

} // namespace velto
