// JournalLogSink: log messages to the system's journal, or to standard error where there is none.
//
// Each entry carries the category as VELTO_CATEGORY. Private arguments are written as they are: only the user
// and the administrator can read the journal of a user's programs.
#pragma once

#include "VeltoCore/Services/LogSink.h"

#include <string>
#include <vector>

namespace velto {

class JournalLogSink final : public LogSink {
  public:
    enum class Destination { journal, standardError };

    /// Messages below the level are dropped before they are rendered.
    explicit JournalLogSink(LogLevel lowest = LogLevel::info, Destination destination = available());

    /// The journal if its socket is there.
    static Destination available() noexcept;
    /// The journal fields of a message, each "NAME=value" on one line.
    static std::vector<std::string> journalFields(const LogMessage& message);

    bool isEnabled(LogLevel level) const noexcept override { return level >= lowest_; }
    void write(const LogMessage& message) override;

  private:
    LogLevel lowest_;
    Destination destination_;
};

} // namespace velto
