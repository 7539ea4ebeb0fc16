// Sockets by which programs of one machine find each other, each under the path of a file.
//
// None of them waits, is inherited by a program that is started, or ends this one by a signal.
#pragma once

#include <sys/socket.h>
#include <sys/types.h>
#include <sys/un.h>

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <optional>

namespace velto {

/// Who is at the other end of a connection: of a listening socket, who made it.
struct LocalPeer {
    uid_t user;
    pid_t process;
};

/// None when the path is too long for a socket.
std::optional<sockaddr_un> localAddress(const std::filesystem::path& path);
/// Connects; -1 with errno.
int connectedSocket(const std::filesystem::path& path);
/// A socket that listens, for the user alone; -1 with errno. It appears under its name when it listens
/// already: who finds it can connect.
int listeningSocket(const std::filesystem::path& path);
bool isOwnUser(const std::optional<LocalPeer>& peer);

// What each system does in its own way.

int makeLocalSocket();
/// -1 when nobody waits.
int acceptConnection(int listener);
std::optional<LocalPeer> peerOf(int connection);
/// As send(2).
ssize_t sendBytes(int connection, const char* bytes, std::size_t count);
/// Waits for the end of a process that need not be a child; false when it takes longer.
bool awaitProcessEnd(pid_t process, std::chrono::milliseconds patience);

} // namespace velto
