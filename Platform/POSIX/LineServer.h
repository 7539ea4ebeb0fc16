// LineServer: lets programs of the same user talk to this one, each by one line and what is answered to it.
//
// Owned by the entry point; main actor only. However many come, and whatever they send or fail to read, none
// of them holds up another, or the program: it never waits, and what it keeps of each is bounded. Those
// beyond the number that it serves at a time wait, in the kernel, for a place. While nobody talks to it, it
// does nothing.
#pragma once

#include "Platform/POSIX/FileDescriptorWatcher.h"
#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Observation/Lifetime.h"
#include "VeltoCore/Services/LineConversation.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace velto {

class LineServer {
  public:
    static constexpr std::size_t mostClients = 128;
    /// Of a request, in bytes.
    static constexpr std::size_t longestLine = 65536;
    /// How long one may take to say all that it wants, and then to take what it was answered.
    static constexpr std::chrono::seconds patience{5};

    /// Both must outlive the server. Each client is greeted with the line, before it says anything.
    LineServer(FileDescriptorWatcher& watcher, MainActor& actor, std::string greeting,
               LineConversationFactory converse);
    LineServer(const LineServer&) = delete;
    LineServer& operator=(const LineServer&) = delete;
    /// Ends all conversations.
    ~LineServer();

    /// Lets in who connects to the socket, which stays the caller's and must outlive the server. Once.
    void listen(int listener);
    std::size_t clientCount() const noexcept { return clients_.size(); }

  private:
    class Client;

    void accept();
    void restAWhile();
    void awaitClients();
    void end(const Client& client);

    FileDescriptorWatcher& watcher_;
    MainActor& actor_;
    std::string greeting_;
    LineConversationFactory converse_;
    int listener_ = -1;
    std::vector<std::unique_ptr<Client>> clients_;
    Lifetime lifetime_;
};

} // namespace velto
