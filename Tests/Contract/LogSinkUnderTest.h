// LogSinkUnderTest: a platform's log, and what was written to it.
#pragma once

#include "VeltoCore/Services/LogSink.h"

#include <memory>
#include <optional>
#include <string>

namespace velto {

class LogSinkUnderTest {
  public:
    virtual ~LogSinkUnderTest() = default;
    /// Takes messages of every level that the platform takes.
    virtual LogSink& sink() = 0;
    /// What was written, one message a line, and no more from then on; absent where a program can't read its
    /// own log.
    virtual std::optional<std::string> takeWritten() = 0;
};

std::unique_ptr<LogSinkUnderTest> makeLogSinkUnderTest();

} // namespace velto
