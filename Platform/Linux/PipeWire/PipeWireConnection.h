// PipeWireConnection: the line to the sound server, and the loop that serves it on the main actor.
//
// Reconnects by itself when the server goes away. Synchronous calls act, then wait here for the answer; they
// must never be made from within a server callback.
//
// A server that hangs costs one deadline, not one a call: from the first call that waited in vain until the
// server has answered that one, nothing is waited for. The session manager's hanging shows here too: the
// server leaves a program unanswered that has begun to watch one of its stores. Where the server answers a
// witness and not this connection, it never will again: then this one is taken for lost, and made anew.
#pragma once

#include "Platform/Linux/PipeWire/PipeWireWitness.h"
#include "Platform/POSIX/FileDescriptorWatcher.h"
#include "VeltoCore/Async/Backoff.h"
#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Observation/Lifetime.h"

#include <pipewire/pipewire.h>

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace velto {

/// How long a synchronous call waits for the server before it gives up. A round trip takes 0.02 ms.
inline constexpr Duration pipeWireDeadline = std::chrono::milliseconds(500);

class PipeWireConnection {
  public:
    /// Told on the main actor; outside of any server callback, where nothing else is said.
    class Delegate {
      public:
        virtual ~Delegate() = default;
        /// The registry is empty so far; its objects arrive as events.
        virtual void connectionMade(pw_core* core, pw_registry* registry) = 0;
        /// All proxies must be dropped before this returns.
        virtual void connectionLost() = 0;
        /// The server answers again. From within a server callback.
        virtual void connectionAnswers() = 0;
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
    /// Whether there is no server, or a call has waited for it in vain and it has not answered since.
    bool isSilent() const noexcept { return !isConnected() || isHanging_; }
    pw_core* core() const noexcept { return core_; }
    pw_registry* registry() const noexcept { return registry_; }

    /// Sends now what would be sent when the main loop turns.
    void flush() { serve(Duration::zero()); }
    /// Calls back, from within a server callback, when the server has answered everything sent so far.
    void whenAnswered(std::function<void()> answered);
    /// Somebody else has asked something on this connection, which is to be known for one that gets answers.
    void watchAnswers();
    /// Serves the loop until the server has answered everything sent so far. False when it doesn't in time.
    bool roundTrip(Duration deadline = pipeWireDeadline);
    /// Serves the loop until the condition holds. False when it doesn't in time, or the server is silent.
    bool waitUntil(const std::function<bool()>& condition, Duration deadline = pipeWireDeadline);

  private:
    struct Hooks;
    /// Something asked of the server that it has not answered yet.
    struct Question {
        int sequence;
        ContinuousInstant askedAt;
        std::function<void()> answered; // may be empty
    };

    void serve(Duration longestWait);
    void answered(int sequence);
    void lose();
    bool isUnansweredFor(Duration duration) const;
    void watchLater(Duration delay);
    void callWitness();

    MainActor& actor_;
    FileDescriptorWatcher& watcher_;
    std::string remote_;
    Delegate& delegate_;
    pw_loop* loop_ = nullptr;
    pw_context* context_ = nullptr;
    pw_core* core_ = nullptr;
    pw_registry* registry_ = nullptr;
    std::unique_ptr<Hooks> hooks_;
    Backoff retry_;
    std::deque<Question> questions_; // in the order in which they are answered
    std::optional<MainActor::TimerID> watch_;
    std::optional<PipeWireWitness> witness_;
    Duration witnessTime_{};
    bool isHanging_ = false;
    bool isLost_ = false;
    Lifetime lifetime_;
};

} // namespace velto
