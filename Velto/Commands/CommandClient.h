// CommandClient: asks the running program to do a command, and prints its answer.
//
// For a process that does nothing else. To end it only ends the waiting.
#pragma once

#include "Platform/POSIX/LineConnection.h"
#include "Velto/Commands/CommandLine.h"
#include "Velto/Commands/CommandRequest.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

namespace velto {

class CommandClient {
  public:
    /// Where the running program may be found now.
    using FindProgram = std::function<std::vector<std::filesystem::path>()>;

    /// To start is for a command that needs the program when none runs; it may throw std::runtime_error.
    CommandClient(FindProgram find, std::function<void()> start)
        : find_(std::move(find)), start_(std::move(start)) {}

    /// The exit status: 0 done; 1 with a sentence on standard error; 2 likewise, for wrong usage.
    int perform(const CommandLine& line);
    /// Brings up the panel of the one that runs; one without windows opens them on the display that the
    /// environment names. False when it has none, and gets none. Throws CommandFailure when it doesn't
    /// answer.
    bool raise(const std::map<std::string, std::string>& environment);

  private:
    std::optional<LineConnection> connect();
    LineConnection connectOrStart(const std::string& command);
    static JSON readAnswer(LineConnection& connection);
    static int watch(LineConnection& connection, const CommandLine& line);

    FindProgram find_;
    std::function<void()> start_;
};

} // namespace velto
