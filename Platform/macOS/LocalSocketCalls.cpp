#include "Platform/POSIX/LocalSocket.h"

#include <fcntl.h>
#include <sys/event.h>
#include <unistd.h>

namespace velto {

namespace {

/// Makes it like all of these sockets; -1 where there is none.
int adapted(int descriptor) {
    if (descriptor < 0) return -1;
    const int isOn = 1;
    fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    fcntl(descriptor, F_SETFL, O_NONBLOCK);
    setsockopt(descriptor, SOL_SOCKET, SO_NOSIGPIPE, &isOn, sizeof isOn);
    return descriptor;
}

} // namespace

int makeLocalSocket() { return adapted(socket(AF_UNIX, SOCK_STREAM, 0)); }

int acceptConnection(int listener) { return adapted(accept(listener, nullptr, nullptr)); }

std::optional<LocalPeer> peerOf(int connection) {
    LocalPeer peer{};
    gid_t group = 0;
    socklen_t size = sizeof peer.process;
    if (getpeereid(connection, &peer.user, &group) != 0 ||
        getsockopt(connection, SOL_LOCAL, LOCAL_PEERPID, &peer.process, &size) != 0)
        return std::nullopt;
    return peer;
}

ssize_t sendBytes(int connection, const char* bytes, std::size_t count) {
    return send(connection, bytes, count, 0);
}

bool awaitProcessEnd(pid_t process, std::chrono::milliseconds patience) {
    const int queue = kqueue();
    struct kevent event {};
    EV_SET(&event, process, EVFILT_PROC, EV_ADD, NOTE_EXIT, 0, nullptr);
    const auto seconds = std::chrono::floor<std::chrono::seconds>(patience);
    const timespec limit{seconds.count(), std::chrono::nanoseconds(patience - seconds).count()};
    const bool hasEnded =
        kevent(queue, &event, 1, &event, 1, &limit) == 1; // also when there is none any more
    close(queue);
    return hasEnded;
}

} // namespace velto
