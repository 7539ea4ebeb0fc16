// What every platform's log bears, and shows where it can be read.
#include "Tests/Contract/LogSinkUnderTest.h"
#include "VeltoCore/Services/LoggingService.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <string>
#include <thread>
#include <vector>

namespace velto {
namespace {

using namespace std::string_literals;
using testing::HasSubstr;

const std::string hostile = "Desk\nPRIORITY=0\r\x1B[2J {} %s %n %@ %{public}s\0 tail\xFF"s;

class LogSinkContractTests : public testing::Test {
  protected:
    LogSinkContractTests() : before(LoggingService::install(&underTest->sink())) {}
    ~LogSinkContractTests() override { LoggingService::install(before); }

    /// Where the log can be read: that it has so many messages, and these texts in that order.
    void expectWritten(std::ptrdiff_t count, const std::vector<std::string>& texts) {
        const auto written = underTest->takeWritten();
        if (!written) return;
        EXPECT_EQ(std::ranges::count(*written, '\n'), count);
        std::size_t place = 0;
        for (const std::string& text : texts) {
            place = written->find(text, place);
            ASSERT_NE(place, std::string::npos) << text << " is missing, or in another place";
            place += text.size();
        }
    }

    const std::unique_ptr<LogSinkUnderTest> underTest = makeLogSinkUnderTest();
    LogSink* const before;
};

TEST_F(LogSinkContractTests, TakesEveryLevelAndArgumentsOfBothKinds) {
    EXPECT_TRUE(underTest->sink().isEnabled(LogLevel::notice));
    EXPECT_TRUE(underTest->sink().isEnabled(LogLevel::error));
    LoggingService::audioDevices.debug("Confirmed");
    LoggingService::aggregateDevice.info("Rate {} of {}", 44100.5, publicText("Desk"));
    LoggingService::recovery.notice("present: {}, saved: {}, record {}", true, false, std::string("of mine"));
    LoggingService::systemOutput.error("{} failed: {}", "Start", -50);
    LoggingService::lifecycle.fault("A task ended");
    expectWritten(5, {"AudioDevices", "Confirmed", "AggregateDevice", "Rate 44100.500000 of Desk", "Recovery",
                      "present: true, saved: false, record of mine", "SystemOutput", "Start failed: -50",
                      "Lifecycle", "A task ended"});
}

TEST_F(LogSinkContractTests, HostileTextIsTextAndEachMessageStaysOne) {
    LoggingService::ui.notice("name {}, title {}", hostile, publicText(hostile));
    LoggingService::ui.notice("long {}", std::string(100'000, 'x'));
    LoggingService::ui.notice("long {} and {}", publicText(std::string(100'000, 'y')), "the end");
    LoggingService::ui.notice("{}{}{}{}{}{}{}{}{}{}{}{}{}{}{}{}{}{}{}{}", 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, "a",
                              "b", "c", "d", "e", "f", "g", "h", "i", "j");
    LoggingService::ui.notice("too few {} and {} at 100 %s", "arguments");
    LoggingService::ui.notice("too many", "arguments", 7);
    LoggingService::ui.notice("{}", "");
    LoggingService::ui.error("still {}", "here");
    expectWritten(
        8, {"name Desk\uFFFDPRIORITY=0\uFFFD\uFFFD[2J {} %s %n %@ %{public}s\uFFFD tail\uFFFD, title Desk",
            "long x", "long y", "and the end", "0123456789abcdefghij", "too few arguments and {} at 100 %s",
            "too many", "still here"});
}

TEST_F(LogSinkContractTests, EveryThreadMayWrite) {
    constexpr int count = 200;
    std::array<std::thread, 3> threads;
    for (std::size_t i = 0; i < threads.size(); ++i)
        threads[i] = std::thread([i] {
            for (int k = 0; k < count; ++k)
                LoggingService::sync.notice("[{} {}]", i, std::string(300, 'z'));
        });
    for (std::thread& thread : threads)
        thread.join();
    const std::string whole = " " + std::string(300, 'z') + "]\n";
    expectWritten(3 * count, std::vector<std::string>(3 * count, whole));
}

} // namespace
} // namespace velto
