// CommandService: answers what is asked of the running program.
//
// Owned by the entry point; main actor only. Who asked may go at any time: what was begun goes on. Who
// watches is told of changes at most once a turn of the main loop; while nothing changes it does nothing.
#pragma once

#include "Velto/Commands/CommandOperations.h"
#include "Velto/Commands/CommandRequest.h"
#include "Velto/Shell/AppState.h"
#include "VeltoCore/Async/TaskScope.h"
#include "VeltoCore/Services/LineConversation.h"

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>

namespace velto {

class CommandService {
  public:
    static constexpr std::size_t mostWatchers = 64;

    /// What is the program's own to do.
    struct Program {
        std::function<void()> quit;
        /// Brings up the panel; without windows, on the display that the environment names. False when there
        /// is none to be had.
        std::function<bool(const std::map<std::string, std::string>& environment)> raise;
    };

    /// The application must outlive the service.
    CommandService(AppState& app, Program program);
    CommandService(const CommandService&) = delete;
    CommandService& operator=(const CommandService&) = delete;

    /// What everybody is told first: the version of the channel, and the program's.
    static std::string greeting();
    /// One conversation; the service must outlive it.
    std::unique_ptr<LineConversation> converse(LineClient& client);

  private:
    class Conversation;

    Task<void> answer(CommandRequest request, std::weak_ptr<LineClient*> client);
    bool raise(const std::map<std::string, std::string>& environment);

    AppState& app_;
    Program program_;
    CommandOperations operations_;
    std::size_t watchers_ = 0;
    TaskScope tasks_; // dies first: its tasks use the others
};

} // namespace velto
