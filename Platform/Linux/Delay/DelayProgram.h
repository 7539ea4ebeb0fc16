// DelayProgram: delays outputs of one aggregate until that, or the sound server, goes, or it is told to end.
//
// It needs nobody: whoever started it may be gone, and the sound goes on as it was, faded in. It takes
// commands from its standard input (DelayCommand), and says to its standard output that it is well: when it
// has started and when it is asked. Where it was given a Watchdog it puts that off while sound runs.
#pragma once

#include "Platform/Linux/Delay/AggregateWatch.h"
#include "Platform/Linux/Delay/DelayCommand.h"
#include "Platform/Linux/Delay/DelayLine.h"
#include "Platform/Linux/Delay/DelayNode.h"
#include "Platform/Linux/Delay/LoopSource.h"
#include "Platform/Linux/Delay/Watchdog.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace velto {

class DelayProgram {
  public:
    struct Arguments {
        std::string remote; // the server's socket; empty for the user's own
        std::string aggregate;
        std::vector<std::string> outputs;
        std::vector<double> delays; // in milliseconds, one an output
    };
    /// REMOTE AGGREGATE OUTPUT DELAY [OUTPUT DELAY]...; none for anything else.
    static std::optional<Arguments> read(std::span<char* const> words);

    /// Throws std::runtime_error.
    explicit DelayProgram(Arguments arguments);
    DelayProgram(const DelayProgram&) = delete;
    DelayProgram& operator=(const DelayProgram&) = delete;
    ~DelayProgram();

    /// Returns when there is nothing to delay any more.
    void run();

  private:
    struct Events;

    void connect(const std::string& remote);
    void end(const std::string& why);
    void readCommands();
    void obey(std::string_view line);
    static void sayWell();

    Watchdog watchdog_;
    DelayLine line_;
    pw_main_loop* mainLoop_ = nullptr;
    pw_loop* loop_ = nullptr;
    pw_context* context_ = nullptr;
    pw_core* core_ = nullptr;
    spa_hook coreHook_{};
    std::optional<LoopSource> terminated_, interrupted_;
    std::optional<LoopSource> commands_; // none after their end
    std::string unread_;                 // the beginning of a line
    std::optional<DelayNode> node_;
    std::optional<AggregateWatch> aggregateWatch_;
};

} // namespace velto
