#include "Platform/Linux/SingleInstance.h"

#include "Platform/Linux/FileUserDefaults.h"
#include "Platform/Linux/PrivateFolder.h"

#include <fmt/format.h>

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace velto {

namespace {

using SteadyClock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto pause = 20ms;

/// None when the path is too long for one.
std::optional<sockaddr_un> address(const std::filesystem::path& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.native().size() >= sizeof address.sun_path) return std::nullopt;
    std::memcpy(address.sun_path, path.c_str(), path.native().size() + 1);
    return address;
}

/// A socket that listens, or -1 with errno. It appears under its name when it listens already: who finds it
/// can connect.
int listeningSocket(const std::filesystem::path& path) {
    const std::filesystem::path hidden = path.native() + ".new";
    const auto name = address(hidden);
    if (!name) {
        errno = ENAMETOOLONG;
        return -1;
    }
    unlink(hidden.c_str());
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (listener < 0) return -1;
    if (bind(listener, reinterpret_cast<const sockaddr*>(&*name), sizeof *name) == 0 &&
        chmod(hidden.c_str(), S_IRUSR | S_IWUSR) == 0 && ::listen(listener, 8) == 0 &&
        rename(hidden.c_str(), path.c_str()) == 0)
        return listener;
    const int error = errno;
    close(listener);
    errno = error;
    return -1;
}

/// Only the same user's programs may raise us.
bool isOwnUser(int connection) {
    ucred peer{};
    socklen_t size = sizeof peer;
    return getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == geteuid();
}

} // namespace

std::optional<std::filesystem::path> SingleInstance::runtimeFolder() {
    const char* folder = std::getenv("XDG_RUNTIME_DIR");
    return folder && *folder == '/' ? std::optional<std::filesystem::path>(folder) : std::nullopt;
}

SingleInstance::SingleInstance(const std::filesystem::path& settingsFile,
                               const std::optional<std::filesystem::path>& runtimeFolder) {
    PrivateFolder::make(settingsFile.parent_path()); // the lock then says what is wrong
    std::vector<std::filesystem::path> folders{settingsFile.parent_path()};
    locks_.emplace_back(FileUserDefaults::lockFile(settingsFile));
    if (runtimeFolder) {
        folders.insert(folders.begin(), *runtimeFolder);
        locks_.emplace_back(*runtimeFolder / "com.corlent.velto.lock");
    }
    for (const FileLock& lock : locks_)
        if (const auto& failure = lock.failure())
            troubles_.push_back(
                fmt::format("A second start can't be told by {}: {}", lock.file().native(), *failure));
    isFirst_ = std::ranges::none_of(locks_, &FileLock::isHeldByAnother);
    if (!isFirst_) std::erase_if(locks_, [](const FileLock& lock) { return !lock.isHeldByAnother(); });
    if (std::ranges::any_of(locks_, &FileLock::isTaken)) listen(folders);
}

SingleInstance::~SingleInstance() {
    if (listener_ < 0) return;
    if (watcher_) watcher_->unwatch(listener_);
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
    troubles_.push_back(
        fmt::format("A second start can't bring up the panel: no socket could be made in {}: {}",
                    folders.back().native(), std::strerror(errno)));
}

void SingleInstance::observeRaise(FileDescriptorWatcher& watcher, std::function<void()> handler) {
    if (listener_ < 0) return;
    watcher_ = &watcher;
    watcher.watchReadable(listener_, [this, handler = std::move(handler)] {
        const int connection = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0) return;
        const bool mayRaise = isOwnUser(connection);
        close(connection); // to connect is all there is to say
        if (mayRaise) handler();
    });
}

bool SingleInstance::raiseFirst(std::chrono::milliseconds patience) const {
    const auto deadline = SteadyClock::now() + patience;
    if (isFirst_) return false;
    do {
        const auto name = address(locks_.front().note());
        // Without waiting: where many wait already for one that hangs, connecting would take for ever.
        const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        const bool isConnected =
            name && connect(connection, reinterpret_cast<const sockaddr*>(&*name), sizeof *name) == 0;
        // The first one closes the connection once it has seen it.
        pollfd answer{connection, POLLIN, 0};
        const bool isSeen = isConnected && poll(&answer, 1, static_cast<int>(patience.count())) == 1;
        close(connection);
        if (isConnected) return isSeen;
        poll(nullptr, 0, std::chrono::milliseconds(pause).count()); // the first one is only just starting
    } while (SteadyClock::now() < deadline);
    return false;
}

} // namespace velto
