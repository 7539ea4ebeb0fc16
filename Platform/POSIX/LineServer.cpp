#include "Platform/POSIX/LineServer.h"

#include "Platform/POSIX/LocalSocket.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>
#include <utility>

namespace velto {

/// One that is being talked to. It is ended in a turn of its own, whatever ends it.
class LineServer::Client final : public LineClient {
  public:
    Client(LineServer& server, int connection) : server_(server), connection_(connection) {
        setDeadline();
        send(server.greeting_);
        server_.watcher_.watchReadable(connection_, [this] { read(); });
        conversation_ = server_.converse_(*this);
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
    ~Client() override {
        conversation_.reset();
        cancelDeadline();
        server_.watcher_.unwatch(connection_);
        ::close(connection_);
    }

    void send(std::string line) override {
        if (isEnding_) return;
        unsent_ += line;
        unsent_ += '\n';
        write();
    }
    void sendLatest(std::string line) override {
        if (isEnding_) return;
        latest_ = std::move(line);
        write();
    }
    void close() override {
        isClosing_ = true;
        write();
    }

  private:
    void read() {
        std::array<char, 4096> bytes{};
        const ssize_t count = ::read(connection_, bytes.data(), bytes.size());
        if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
        if (count <= 0) return end();
        if (isHeard_) return; // one request is all
        received_.append(bytes.data(), static_cast<std::size_t>(count));
        const auto lineEnd = received_.find('\n');
        if (lineEnd == std::string::npos) {
            if (received_.size() > longestLine) end();
            return;
        }
        isHeard_ = true;
        cancelDeadline();
        received_.resize(lineEnd);
        conversation_->received(std::exchange(received_, {}));
    }

    void write() {
        while (!isEnding_) {
            if (unsent_.empty() && latest_) {
                unsent_ = std::move(*latest_) + '\n';
                latest_.reset();
            }
            if (unsent_.empty()) break;
            const ssize_t count = sendBytes(connection_, unsent_.data(), unsent_.size());
            if (count > 0) {
                unsent_.erase(0, static_cast<std::size_t>(count));
            } else if (errno == EAGAIN) {
                // Who watches may look away for as long as it likes: it costs one line.
                if (isClosing_ && !deadline_) setDeadline();
                server_.watcher_.watchWritable(connection_, [this] { write(); });
                return;
            } else if (errno != EINTR) {
                return end();
            }
        }
        if (isClosing_) end();
    }

    void setDeadline() {
        deadline_ = server_.actor_.postAfter(patience, [this] {
            deadline_.reset();
            end();
        });
    }
    void cancelDeadline() {
        if (deadline_) server_.actor_.cancelTimer(*deadline_);
        deadline_.reset();
    }
    void end() {
        if (!std::exchange(isEnding_, true)) server_.end(*this);
    }

    LineServer& server_;
    int connection_;
    std::string received_;
    std::string unsent_;
    std::optional<std::string> latest_;
    bool isHeard_ = false;
    bool isClosing_ = false;
    bool isEnding_ = false;
    std::optional<MainActor::TimerID> deadline_;
    std::unique_ptr<LineConversation> conversation_;
};

LineServer::LineServer(FileDescriptorWatcher& watcher, MainActor& actor, std::string greeting,
                       LineConversationFactory converse)
    : watcher_(watcher), actor_(actor), greeting_(std::move(greeting)), converse_(std::move(converse)) {}

LineServer::~LineServer() {
    if (listener_ >= 0) watcher_.unwatch(listener_);
}

void LineServer::listen(int listener) {
    listener_ = listener;
    awaitClients();
}

void LineServer::awaitClients() {
    if (listener_ < 0) return;
    watcher_.watchReadable(listener_, [this] { accept(); });
}

/// Nobody can be let in where descriptors have run out, and who waits goes on to wait.
void LineServer::restAWhile() {
    if (errno == EAGAIN || errno == EINTR || errno == ECONNABORTED) return;
    watcher_.unwatch(listener_);
    actor_.postAfter(std::chrono::seconds(1), lifetime_.whileAlive([this] { awaitClients(); }));
}

/// One a turn: whatever else is to be done goes on between them.
void LineServer::accept() {
    const int connection = acceptConnection(listener_);
    if (connection < 0) return restAWhile();
    if (isOwnUser(peerOf(connection))) {
        clients_.push_back(std::make_unique<Client>(*this, connection));
    } else {
        close(connection);
    }
    if (clients_.size() >= mostClients) watcher_.unwatch(listener_);
}

/// In a later turn: whoever ends may be at work.
void LineServer::end(const Client& client) {
    actor_.post(lifetime_.whileAlive([this, &client] {
        std::erase_if(clients_, [&](const auto& one) { return one.get() == &client; });
        awaitClients(); // there is a place
    }));
}

} // namespace velto
