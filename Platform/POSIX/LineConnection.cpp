#include "Platform/POSIX/LineConnection.h"

#include "Platform/POSIX/LocalSocket.h"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

namespace velto {

namespace {

using SteadyClock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto pause = 10ms;

} // namespace

std::expected<LineConnection, LineConnection::Refusal>
LineConnection::open(const std::filesystem::path& socket, Patience patience) {
    const auto deadline = SteadyClock::now() + patience;
    int connection = connectedSocket(socket);
    // Without waiting in connect(): where many wait already for one that hangs, it would take for ever.
    while (connection < 0 && (errno == EAGAIN || errno == EINTR)) {
        if (SteadyClock::now() > deadline) return std::unexpected(Refusal::noAnswer);
        poll(nullptr, 0, std::chrono::milliseconds(pause).count());
        connection = connectedSocket(socket);
    }
    if (connection < 0) return std::unexpected(Refusal::nobody);
    const auto peer = peerOf(connection);
    if (isOwnUser(peer)) return LineConnection(connection, peer->process);
    close(connection);
    return std::unexpected(Refusal::anotherUser);
}

LineConnection::LineConnection(LineConnection&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)), process_(other.process_),
      received_(std::move(other.received_)) {}

LineConnection::~LineConnection() {
    if (descriptor_ >= 0) close(descriptor_);
}

bool LineConnection::send(std::string_view line) {
    std::string bytes(line);
    bytes += '\n';
    for (std::size_t sent = 0; sent < bytes.size();) {
        const ssize_t count = sendBytes(descriptor_, bytes.data() + sent, bytes.size() - sent);
        if (count >= 0) {
            sent += static_cast<std::size_t>(count);
        } else if (errno == EAGAIN) {
            pollfd writable{descriptor_, POLLOUT, 0};
            poll(&writable, 1, -1);
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

bool LineConnection::awaitLine(int output) const {
    if (received_.contains('\n')) return true;
    std::array<pollfd, 2> watched{pollfd{descriptor_, POLLIN, 0}, pollfd{output, 0, 0}};
    while (poll(watched.data(), watched.size(), -1) < 0 && errno == EINTR) {}
    return (watched[1].revents & (POLLERR | POLLHUP | POLLNVAL)) == 0;
}

std::optional<std::string> LineConnection::read(std::optional<Patience> patience) {
    const auto deadline = SteadyClock::now() + patience.value_or(0ms);
    for (std::size_t searched = 0;;) {
        if (const auto end = received_.find('\n', searched); end != std::string::npos) {
            std::string line = received_.substr(0, end);
            received_.erase(0, end + 1);
            return line;
        }
        searched = received_.size();
        const auto left = std::chrono::ceil<Patience>(deadline - SteadyClock::now());
        if (patience && left < 0ms) return std::nullopt;
        pollfd readable{descriptor_, POLLIN, 0};
        if (poll(&readable, 1, patience ? static_cast<int>(left.count()) : -1) <= 0) continue;
        std::array<char, 16384> bytes{};
        const ssize_t count = ::read(descriptor_, bytes.data(), bytes.size());
        if (count == 0 || (count < 0 && errno != EAGAIN && errno != EINTR)) return std::nullopt;
        if (count > 0) received_.append(bytes.data(), static_cast<std::size_t>(count));
    }
}

bool LineConnection::awaitEnd(Patience patience) const { return awaitProcessEnd(process_, patience); }

} // namespace velto
