#include "Platform/POSIX/SingleInstance.h"

#include "Platform/POSIX/LocalSocket.h"
#include "Platform/POSIX/PrivateFolder.h"

#include <fmt/format.h>

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace velto {

SingleInstance::SingleInstance(const LockFiles& files) {
    PrivateFolder::make(files.back().parent_path()); // the lock then says what is wrong
    std::vector<std::filesystem::path> folders;
    for (const std::filesystem::path& file : files) {
        locks_.emplace_back(file);
        folders.push_back(file.parent_path());
    }
    for (const FileLock& lock : locks_)
        if (const auto& failure = lock.failure())
            troubles_.push_back(
                fmt::format("A second start can't be told by {}: {}", lock.file().native(), *failure));
    isFirst_ = std::ranges::none_of(locks_, &FileLock::isHeldByAnother);
    if (!isFirst_) locks_.clear(); // for those of the first to be
    if (std::ranges::any_of(locks_, &FileLock::isTaken)) listen(folders);
}

SingleInstance::~SingleInstance() {
    if (listener_ < 0) return;
    unlink(socket_.c_str());
    close(listener_);
}

/// In the first of the folders in which it can.
void SingleInstance::listen(const std::vector<std::filesystem::path>& folders) {
    for (const std::filesystem::path& folder : folders) {
        const std::filesystem::path path = folder / "com.corlent.velto.socket";
        listener_ = listeningSocket(path);
        if (listener_ < 0) continue;
        socket_ = path;
        for (const FileLock& lock : locks_)
            if (lock.isTaken()) lock.setNote(socket_.native());
        return;
    }
    troubles_.push_back(fmt::format("Velto can't be told anything: no socket could be made in {}: {}",
                                    folders.back().native(), std::strerror(errno)));
}

std::vector<std::filesystem::path> SingleInstance::socketsOfFirst(const LockFiles& files) {
    std::vector<std::filesystem::path> sockets;
    for (const std::filesystem::path& file : files)
        if (std::string note = FileLock::note(file); !note.empty()) sockets.emplace_back(std::move(note));
    return sockets;
}

} // namespace velto
