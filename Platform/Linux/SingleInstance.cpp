#include "Platform/Linux/SingleInstance.h"

#include "Platform/Linux/FileUserDefaults.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <system_error>
#include <utility>

namespace velto {

namespace {

using SteadyClock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto pause = 20ms;

[[noreturn]] void fail(const char* what) { throw std::system_error(errno, std::generic_category(), what); }

sockaddr_un address(const std::filesystem::path& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.native().size() >= sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        fail("The socket for a second start could not be made");
    }
    std::memcpy(address.sun_path, path.c_str(), path.native().size() + 1);
    return address;
}

/// Only the same user's programs may raise us.
bool isOwnUser(int connection) {
    ucred peer{};
    socklen_t size = sizeof peer;
    return getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == geteuid();
}

} // namespace

std::filesystem::path SingleInstance::standardFolder() {
    if (const char* runtime = std::getenv("XDG_RUNTIME_DIR"); runtime && *runtime == '/') return runtime;
    const std::filesystem::path folder = FileUserDefaults::standardFile().parent_path();
    std::error_code ignored; // the lock then says what is wrong
    std::filesystem::create_directories(folder, ignored);
    return folder;
}

SingleInstance::SingleInstance(std::filesystem::path folder) : socket_(folder / "com.corlent.velto.socket") {
    const std::filesystem::path lock = folder / "com.corlent.velto.lock";
    lock_ = open(lock.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (lock_ < 0) fail("The lock of the running program could not be made");
    try {
        if (flock(lock_, LOCK_EX | LOCK_NB) == 0) {
            listen();
        } else if (errno != EWOULDBLOCK) {
            fail("The lock of the running program could not be taken");
        }
    } catch (...) {
        closeAll();
        throw;
    }
}

SingleInstance::~SingleInstance() {
    if (watcher_) watcher_->unwatch(listener_);
    if (isFirst()) unlink(socket_.c_str());
    closeAll();
}

void SingleInstance::closeAll() noexcept {
    if (listener_ >= 0) close(listener_);
    close(lock_);
}

/// The socket appears under its name when it listens already: who finds it can connect.
void SingleInstance::listen() {
    const std::filesystem::path hidden = socket_.native() + ".new";
    const sockaddr_un name = address(hidden);
    unlink(hidden.c_str());
    listener_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (listener_ < 0 || bind(listener_, reinterpret_cast<const sockaddr*>(&name), sizeof name) != 0 ||
        chmod(hidden.c_str(), 0600) != 0 || ::listen(listener_, 8) != 0 ||
        rename(hidden.c_str(), socket_.c_str()) != 0)
        fail("The socket for a second start could not be made");
}

void SingleInstance::observeRaise(FileDescriptorWatcher& watcher, std::function<void()> handler) {
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
    const sockaddr_un name = address(socket_);
    const auto deadline = SteadyClock::now() + patience;
    do {
        // Without waiting: where many wait already for one that hangs, connecting would take for ever.
        const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        const bool isConnected =
            connect(connection, reinterpret_cast<const sockaddr*>(&name), sizeof name) == 0;
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
