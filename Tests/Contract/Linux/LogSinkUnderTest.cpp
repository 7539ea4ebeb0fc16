#include "Tests/Contract/LogSinkUnderTest.h"

#include "Platform/Linux/JournalLogSink.h"

#include <gtest/gtest.h>

#include <utility>

namespace velto {

namespace {

/// Where there is no journal, the log goes to standard error, which can be read.
class JournalLogSinkUnderTest final : public LogSinkUnderTest {
  public:
    JournalLogSinkUnderTest() { testing::internal::CaptureStderr(); }
    ~JournalLogSinkUnderTest() override { takeWritten(); }

    LogSink& sink() override { return sink_; }
    std::optional<std::string> takeWritten() override {
        if (std::exchange(isTaken_, true)) return std::nullopt;
        return testing::internal::GetCapturedStderr();
    }

  private:
    JournalLogSink sink_{LogLevel::debug, JournalLogSink::Destination::standardError};
    bool isTaken_ = false;
};

} // namespace

std::unique_ptr<LogSinkUnderTest> makeLogSinkUnderTest() {
    return std::make_unique<JournalLogSinkUnderTest>();
}

} // namespace velto
