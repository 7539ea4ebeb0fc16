// SingleInstance: one running program for whatever the locks stand for; a second start, and whoever wants
// something of it, finds the first.
//
// Made early in main(). The first one holds all the locks, and has a socket of which they tell; all go with
// the process, however it ends. Nothing that is wrong with a place keeps the program from starting.
#pragma once

#include "Platform/POSIX/FileLock.h"

#include <filesystem>
#include <string>
#include <vector>

namespace velto {

class SingleInstance {
  public:
    using LockFiles = std::vector<std::filesystem::path>;

    /// The folder of the last one, which is the program's own, is made.
    explicit SingleInstance(const LockFiles& files);
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;
    ~SingleInstance();

    bool isFirst() const noexcept { return isFirst_; }
    /// What could not be done, in sentences; empty as a rule.
    const std::vector<std::string>& troubles() const noexcept { return troubles_; }
    /// Where the first one is told things: it listens already. -1 where there is no such place.
    int listener() const noexcept { return listener_; }

    /// Where the first one can be found, as the locks tell; empty when there is none. For those that don't
    /// want to be it, who must not touch the locks.
    static std::vector<std::filesystem::path> socketsOfFirst(const LockFiles& files);

  private:
    void listen(const std::vector<std::filesystem::path>& folders);

    std::vector<FileLock> locks_; // in a later one, those that the first holds
    bool isFirst_ = true;
    std::vector<std::string> troubles_;
    std::filesystem::path socket_; // empty where there is none
    int listener_ = -1;
};

} // namespace velto
