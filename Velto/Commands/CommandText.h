// CommandText: answers as people read them.
#pragma once

#include "Velto/Commands/CommandRequest.h"

#include <string>

namespace velto {

struct CommandText {
    CommandText() = delete;

    /// In lines, each with its end.
    static std::string of(const JSON& answer);
    /// A status in one line, without its end.
    static std::string lineOf(const JSON& status);
    /// Of a list, one a line.
    static std::string namesOf(const JSON& answer);
};

} // namespace velto
