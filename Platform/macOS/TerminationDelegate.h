// TerminationDelegate: the application's delegate, as far as it concerns the program's end and its reopening.
//
// Made by the entry point before Qt's application object, which keeps the delegate that is there and asks it
// first: on its own, Qt would refuse to end. Main thread only; lives as long as the program. Every way to end
// comes by here: Cmd-Q, the menu, log-out and restart, the status item removed by hand, requestTermination().
#pragma once

#include <functional>
#include <memory>

namespace velto {

class TerminationDelegate {
  public:
    enum class Reply {
        now,
        /// Ends once the application host replies.
        later,
    };
    struct Handlers {
        std::function<Reply()> shouldTerminate;
        /// The user opened the program again while it runs.
        std::function<void()> reopened;
    };

    TerminationDelegate();
    TerminationDelegate(const TerminationDelegate&) = delete;
    TerminationDelegate& operator=(const TerminationDelegate&) = delete;
    ~TerminationDelegate();

    /// Without a handler the program ends at once.
    void setHandlers(Handlers handlers);

    /// Asks the application to end, as its menu does. Not at once: while the application waits for a reply
    /// it runs a loop of its own, which must not be run from within a turn of the main actor.
    void requestTermination();

  private:
    struct Delegate;
    std::unique_ptr<Delegate> delegate_;
};

} // namespace velto
