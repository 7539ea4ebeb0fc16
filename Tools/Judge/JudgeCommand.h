// JudgeCommand: the whole program but for its command line.
#pragma once

#include <iosfwd>
#include <optional>
#include <string>

namespace velto::judge {

struct JudgeCommand {
    /// Files to read and to write.
    std::string story;
    std::optional<std::string> report = std::nullopt;

    enum class Status : int { allPass = 0, stepFailed = 1, unusable = 2 };

    /// Prints the table, or one sentence on why nothing could be judged.
    Status run(std::ostream& output, std::ostream& errors) const;
};

} // namespace velto::judge
