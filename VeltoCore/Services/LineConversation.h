// LineConversation: what the program says to one who talks to it by lines of text, over whatever carries them.
//
// Main actor only. One request, and what is answered to it; the line is given without its end.
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace velto {

/// The other side. Outlives the conversation.
class LineClient {
  public:
    virtual ~LineClient() = default;
    /// A line of the answer. None may follow close().
    virtual void send(std::string line) = 0;
    /// A line that is out of date once there is a later one: it takes the place of one that was not sent yet.
    virtual void sendLatest(std::string line) = 0;
    /// The conversation is over once all is sent. It is ended in a later turn.
    virtual void close() = 0;
};

/// Ended when the other side has gone.
class LineConversation {
  public:
    virtual ~LineConversation() = default;
    /// Once.
    virtual void received(std::string line) = 0;
};

using LineConversationFactory = std::function<std::unique_ptr<LineConversation>(LineClient& client)>;

} // namespace velto
