#include "Platform/POSIX/LocalSocket.h"

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

namespace velto {

int makeLocalSocket() { return socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0); }

int acceptConnection(int listener) {
    return accept4(listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
}

std::optional<LocalPeer> peerOf(int connection) {
    ucred peer{};
    socklen_t size = sizeof peer;
    if (getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return std::nullopt;
    return LocalPeer{peer.uid, peer.pid};
}

ssize_t sendBytes(int connection, const char* bytes, std::size_t count) {
    return send(connection, bytes, count, MSG_NOSIGNAL);
}

bool awaitProcessEnd(pid_t process, std::chrono::milliseconds patience) {
    const int descriptor = static_cast<int>(syscall(SYS_pidfd_open, process, 0U));
    if (descriptor < 0) return errno == ESRCH;
    pollfd ended{descriptor, POLLIN, 0};
    const bool hasEnded = poll(&ended, 1, static_cast<int>(patience.count())) == 1;
    close(descriptor);
    return hasEnded;
}

} // namespace velto
