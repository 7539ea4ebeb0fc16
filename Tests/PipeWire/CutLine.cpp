#include "Tests/PipeWire/CutLine.h"

#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace velto {

namespace {

/// Object, operation and length of what follows, sequence number, count of descriptors: 32 bits each.
constexpr std::size_t headerSize = 16;
constexpr std::uint32_t lengthMask = 0xffffff;

sockaddr_un addressOf(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    return address;
}

bool sendAll(int to, const char* bytes, std::size_t count) {
    while (count > 0) {
        const ssize_t sent = send(to, bytes, count, MSG_NOSIGNAL);
        if (sent < 0 && errno != EINTR) return false;
        if (sent < 0) continue;
        bytes += sent;
        count -= static_cast<std::size_t>(sent);
    }
    return true;
}

} // namespace

CutLine::CutLine(const std::string& serverSocket, std::string socketPath, int messages)
    : socket_(std::move(socketPath)), limit_(messages) {
    unlink(socket_.c_str());
    listener_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    server_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_un here = addressOf(socket_);
    const sockaddr_un there = addressOf(serverSocket);
    if (bind(listener_, reinterpret_cast<const sockaddr*>(&here), sizeof here) != 0 ||
        listen(listener_, 1) != 0 ||
        connect(server_, reinterpret_cast<const sockaddr*>(&there), sizeof there) != 0 || pipe(end_) != 0)
        throw std::runtime_error("The line to the sound server can't be laid");
    thread_ = std::thread([this] { relay(); });
}

CutLine::~CutLine() {
    close(end_[1]);
    thread_.join();
    close(end_[0]);
    unlink(socket_.c_str());
}

void CutLine::relay() {
    std::array<pollfd, 2> waiting{{{listener_, POLLIN, 0}, {end_[0], POLLIN, 0}}};
    poll(waiting.data(), waiting.size(), -1);
    const int program = waiting[1].revents ? -1 : accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    close(listener_); // a program that tries again finds nobody
    std::string pending;
    std::array<pollfd, 3> ends{{{program, POLLIN, 0}, {server_, POLLIN, 0}, {end_[0], POLLIN, 0}}};
    bool isOpen = program >= 0 && limit_ > 0;
    while (isOpen) {
        poll(ends.data(), ends.size(), -1);
        if (ends[2].revents) break;
        if (ends[1].revents) isOpen = passOn(server_, program);
        if (!isOpen || !ends[0].revents) continue;
        std::array<char, 65536> bytes{};
        const ssize_t count = recv(program, bytes.data(), bytes.size(), 0);
        if (count > 0) pending.append(bytes.data(), static_cast<std::size_t>(count));
        isOpen = count > 0 && passMessages(pending, server_);
    }
    // The server hangs up on whoever has gone without reading the rest.
    for (int unread = 1; ioctl(server_, SIOCOUTQ, &unread) == 0 && unread > 0;)
        std::this_thread::yield();
    close(server_);
    if (program >= 0) close(program);
}

bool CutLine::passMessages(std::string& pending, int to) {
    while (pending.size() >= headerSize) {
        std::uint32_t operation = 0;
        std::memcpy(&operation, pending.data() + 4, sizeof operation);
        const std::size_t size = headerSize + (operation & lengthMask);
        if (pending.size() < size) break;
        if (!sendAll(to, pending.data(), size)) return false;
        pending.erase(0, size);
        if (++passed_ >= limit_) return false;
    }
    return true;
}

/// With the descriptors that come along.
bool CutLine::passOn(int from, int to) {
    std::array<char, 65536> bytes{};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(28 * sizeof(int))> control{};
    iovec part{bytes.data(), bytes.size()};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const ssize_t count = recvmsg(from, &message, MSG_CMSG_CLOEXEC);
    if (count <= 0) return false;
    part.iov_len = static_cast<std::size_t>(count);
    message.msg_flags = 0;
    const bool isSent = sendmsg(to, &message, MSG_NOSIGNAL) == count;
    for (cmsghdr* header = CMSG_FIRSTHDR(&message); header; header = CMSG_NXTHDR(&message, header)) {
        if (header->cmsg_type != SCM_RIGHTS) continue;
        const std::size_t fds = (header->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (std::size_t i = 0; i < fds; ++i) {
            int descriptor = -1;
            std::memcpy(&descriptor, CMSG_DATA(header) + i * sizeof(int), sizeof descriptor);
            close(descriptor);
        }
    }
    return isSent;
}

} // namespace velto
