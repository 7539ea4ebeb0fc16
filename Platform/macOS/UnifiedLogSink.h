// UnifiedLogSink: log messages to the system's unified log, one log a category.
//
// Private arguments are handed over as such: the system shows them as "<private>" to others.
#pragma once

#include "VeltoCore/Services/LogSink.h"

#include <map>
#include <mutex>
#include <string>

namespace velto {

class UnifiedLogSink final : public LogSink {
  public:
    UnifiedLogSink();
    ~UnifiedLogSink() override;

    /// The system decides what of it is kept; an administrator can change that while the program runs.
    bool isEnabled(LogLevel level) const noexcept override;
    void write(const LogMessage& message) override;

  private:
    /// The system's log of a category: an opaque handle, which lives as long as the program.
    void* logOf(std::string_view category);

    std::mutex mutex_; // guards logs_
    std::map<std::string, void*, std::less<>> logs_;
    void* typical_; // one of them: levels are switched on for all of the program
};

} // namespace velto
