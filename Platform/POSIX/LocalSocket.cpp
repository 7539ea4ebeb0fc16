#include "Platform/POSIX/LocalSocket.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace velto {

namespace {

/// How many may wait to be let in.
constexpr int backlog = 4096;

/// Closes it, and leaves the error of what went before.
int failed(int descriptor) {
    const int error = errno;
    close(descriptor);
    errno = error;
    return -1;
}

} // namespace

std::optional<sockaddr_un> localAddress(const std::filesystem::path& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.native().size() >= sizeof address.sun_path) return std::nullopt;
    std::memcpy(address.sun_path, path.c_str(), path.native().size() + 1);
    return address;
}

int connectedSocket(const std::filesystem::path& path) {
    const auto name = localAddress(path);
    if (!name) {
        errno = ENAMETOOLONG;
        return -1;
    }
    const int connection = makeLocalSocket();
    if (connection < 0) return -1;
    if (connect(connection, reinterpret_cast<const sockaddr*>(&*name), sizeof *name) == 0) return connection;
    return failed(connection);
}

int listeningSocket(const std::filesystem::path& path) {
    const std::filesystem::path hidden = path.native() + ".new";
    const auto name = localAddress(hidden);
    if (!name) {
        errno = ENAMETOOLONG;
        return -1;
    }
    unlink(hidden.c_str());
    const int listener = makeLocalSocket();
    if (listener < 0) return -1;
    if (bind(listener, reinterpret_cast<const sockaddr*>(&*name), sizeof *name) == 0 &&
        chmod(hidden.c_str(), S_IRUSR | S_IWUSR) == 0 && listen(listener, backlog) == 0 &&
        rename(hidden.c_str(), path.c_str()) == 0)
        return listener;
    return failed(listener);
}

bool isOwnUser(const std::optional<LocalPeer>& peer) { return peer && peer->user == geteuid(); }

} // namespace velto
