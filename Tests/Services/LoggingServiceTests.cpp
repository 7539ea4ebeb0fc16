#include "VeltoCore/Services/LoggingService.h"

#include "Simulation/RecordingLogSink.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velto {
namespace {

using testing::ElementsAre;

TEST(LoggingServiceTests, RendersEveryKindOfArgument) {
    const RecordingLogSink log;
    LoggingService::aggregateDevice.info("Set {} sample rate {} -> {} Hz", publicText("Desk"), 44100.0,
                                         48000.5);
    LoggingService::systemOutput.error("{} failed: {}", "Start", std::string("no"));
    LoggingService::recovery.notice("present: {}, saved: {}", true, false);
    LoggingService::audioDevices.debug("{} of {}", std::uint32_t{4294967295},
                                       std::numeric_limits<std::int64_t>::min());
    EXPECT_THAT(log.lines(),
                ElementsAre("AggregateDevice info: Set Desk sample rate 44100.000000 -> 48000.500000 Hz",
                            "SystemOutput error: Start failed: no",
                            "Recovery notice: present: true, saved: false",
                            "AudioDevices debug: 4294967295 of -9223372036854775808"));
}

TEST(LoggingServiceTests, TextOfAnArgumentIsNeverAFormat) {
    const RecordingLogSink log;
    LoggingService::ui.info("{} and {}", "{}", "a name");
    EXPECT_THAT(log.lines(), ElementsAre("UI info: {} and a name"));
}

TEST(LoggingServiceTests, OnlyMarkedTextIsPublic) {
    EXPECT_FALSE(LogArgument("a reason").isPublic());
    EXPECT_FALSE(LogArgument(std::string("a reason")).isPublic());
    EXPECT_TRUE(publicText("Desk").isPublic());

    const auto runs = [](std::string_view format, std::vector<LogArgument> arguments) {
        return LogMessage{"UI", LogLevel::info, format, std::move(arguments)}.runs(4);
    };
    EXPECT_THAT(runs("all of {} {}", {publicText("Desk"), 1}), ElementsAre("all of Desk 1"));
    EXPECT_THAT(runs("{} failed: {}", {"Start", "no"}), ElementsAre("", "Start", " failed: ", "no"));
    EXPECT_THAT(runs("{}{}.", {"a", "b"}), ElementsAre("", "ab", "."));
    EXPECT_THAT(runs("{}, {}, {}, {}", {"a", "b", publicText("c"), "d"}),
                ElementsAre("", "a", ", ", "b, c, d"))
        << "what is private must never end in a public run";
    EXPECT_TRUE(LogArgument(true).isPublic());
    EXPECT_TRUE(LogArgument(1.5).isPublic());
    EXPECT_TRUE(LogArgument(1).isPublic());
}

TEST(LoggingServiceTests, SinkIsAskedForItsLevelAndReplaced) {
    RecordingLogSink outer;
    outer.setMinimumLevel(LogLevel::notice);
    LoggingService::sync.info("unheard");
    {
        const RecordingLogSink inner;
        LoggingService::sync.error("inner");
        EXPECT_THAT(inner.lines(), ElementsAre("Sync error: inner"));
    }
    LoggingService::sync.notice("outer");
    EXPECT_THAT(outer.lines(), ElementsAre("Sync notice: outer"));
}

struct Cleaning {
    std::string name;
    std::string text;
    std::string expected;
};

class LogCleaningTests : public testing::TestWithParam<Cleaning> {};

TEST_P(LogCleaningTests, MakesForeignTextFitForALine) {
    EXPECT_EQ(cleanedForLog(GetParam().text), GetParam().expected);
    EXPECT_EQ(publicText(GetParam().text).text(), GetParam().expected);
}

using namespace std::string_literals;

INSTANTIATE_TEST_SUITE_P(
    , LogCleaningTests,
    testing::Values(Cleaning{"Plain", "Küche 🎧 日本", "Küche 🎧 日本"},
                    Cleaning{"LineBreaks", "a\r\nb\tc", "a\uFFFD\uFFFDb\uFFFDc"},
                    Cleaning{"TerminalCodes", "\x1B[2Ja\x7F", "\uFFFD[2Ja\uFFFD"},
                    Cleaning{"HighControls", "a\u0085b\u009Bc", "a\uFFFDb\uFFFDc"},
                    Cleaning{"Separators", "a\u2028b\u2029c", "a\uFFFDb\uFFFDc"},
                    Cleaning{"DirectionChanges", "\u202Egpj.exe\u2066x\u200F", "\uFFFDgpj.exe\uFFFDx\uFFFD"},
                    Cleaning{"CutShort", "a\xE2\x82", "a\uFFFD\uFFFD"},
                    Cleaning{"TooLongForm", "\xC0\x8A\xE0\x80\x8A", "\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"},
                    Cleaning{"Surrogate", "\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"}),
    [](const auto& info) { return info.param.name; });

} // namespace
} // namespace velto
