// PipeWireConnection: the line to the sound server, and the loop that serves it on the main actor.
//
// Reconnects by itself when the server goes away. Synchronous calls act, then wait here for the answer; they
// must never be made from within a server callback.
#pragma once

#include "Platform/Linux/FileDescriptorWatcher.h"
#include "VeltoCore/Async/MainActor.h"

#include <pipewire/pipewire.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace velto {

/// How long a synchronous call waits for the server before it gives up. A round trip takes 0.02 ms.
inline constexpr Duration pipeWireDeadline = std::chrono::seconds(2);

class PipeWireConnection {
  public:
    /// Told on the main actor, outside of any server callback.
    class Delegate {
      public:
        virtual ~Delegate() = default;
        /// The registry is empty so far; its objects arrive as events.
        virtual void connectionMade(pw_core* core, pw_registry* registry) = 0;
        /// All proxies must be dropped before this returns.
        virtual void connectionLost() = 0;
    };

    /// `remote` names the server's socket, or is its absolute path; empty for the user's own server.
    PipeWireConnection(MainActor& actor, FileDescriptorWatcher& watcher, std::string remote,
                       Delegate& delegate);
    PipeWireConnection(const PipeWireConnection&) = delete;
    PipeWireConnection& operator=(const PipeWireConnection&) = delete;
    ~PipeWireConnection();

    /// Tries once now, and again later for as long as it takes.
    void connect();
    /// Drops the connection without a word to the delegate, which is about to go.
    void disconnect();

    bool isConnected() const noexcept { return core_ && !isLost_; }
    pw_core* core() const noexcept { return core_; }
    pw_registry* registry() const noexcept { return registry_; }

    /// Serves the loop until the server has answered everything sent so far. False when it doesn't in time.
    bool roundTrip(Duration deadline = pipeWireDeadline);
    /// Serves the loop until the condition holds. False when it doesn't in time, or the server is gone.
    bool waitUntil(const std::function<bool()>& condition, Duration deadline = pipeWireDeadline);

  private:
    struct Hooks;

    void serve(Duration longestWait);
    void lose();
    void retryLater();

    MainActor& actor_;
    FileDescriptorWatcher& watcher_;
    std::string remote_;
    Delegate& delegate_;
    pw_loop* loop_ = nullptr;
    pw_context* context_ = nullptr;
    pw_core* core_ = nullptr;
    pw_registry* registry_ = nullptr;
    std::unique_ptr<Hooks> hooks_;
    std::optional<MainActor::TimerID> retry_;
    std::chrono::milliseconds retryDelay_;
    int awaitedSequence_ = 0; // of the last round trip
    bool isAnswered_ = false;
    bool isLost_ = false;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

} // namespace velto
