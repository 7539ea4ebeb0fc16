#include "Tests/Contract/LogSinkUnderTest.h"

#include "Platform/macOS/UnifiedLogSink.h"

namespace velto {

namespace {

/// `log stream --level debug --predicate 'subsystem == "com.corlent.velto"'` shows what the tests write.
class UnifiedLogSinkUnderTest final : public LogSinkUnderTest {
  public:
    LogSink& sink() override { return sink_; }
    std::optional<std::string> takeWritten() override { return std::nullopt; }

  private:
    UnifiedLogSink sink_;
};

} // namespace

std::unique_ptr<LogSinkUnderTest> makeLogSinkUnderTest() {
    return std::make_unique<UnifiedLogSinkUnderTest>();
}

} // namespace velto
