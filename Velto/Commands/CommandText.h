// CommandText: answers as people read them.
//
// Nothing in them is relied on: whatever object it is, there is a text of it that does nothing to a terminal.
#pragma once

#include "Velto/Commands/CommandRequest.h"

#include <optional>
#include <string>

namespace velto {

struct CommandText {
    CommandText() = delete;

    /// In lines, each with its end.
    static std::string of(const JSON& answer);
    /// A status in one line, without its end.
    static std::string lineOf(const JSON& status);
    /// Why what was asked for was not done; none when it was.
    static std::optional<CommandFailure> failureOf(const JSON& answer);
    /// Of a list, one a line.
    static std::string namesOf(const JSON& answer);
};

} // namespace velto
