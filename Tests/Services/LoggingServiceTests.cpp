#include "VeltoCore/Services/LoggingService.h"

#include "Simulation/RecordingLogSink.h"

#include <gmock/gmock.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velto {
namespace {

using testing::ElementsAre;

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

TEST(LoggingServiceTests, ForeignTextIsMadeFitForALine) {
    const std::pair<const char*, const char*> cases[] = {
        {"Küche 🎧 日本", "Küche 🎧 日本"},
        {"a\r\nb\tc", "a\uFFFD\uFFFDb\uFFFDc"},
        {"\x1B[2Ja\x7F", "\uFFFD[2Ja\uFFFD"},
        {"a\u0085b\u009Bc\u2028", "a\uFFFDb\uFFFDc\uFFFD"},
        {"\u202Egpj.exe\u2066x\u200F", "\uFFFDgpj.exe\uFFFDx\uFFFD"},
        {"a\xE2\x82", "a\uFFFD\uFFFD"},
        {"\xC0\x8A\xE0\x80\x8A", "\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"}, // longer than need be
        {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},                     // half of a pair
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(cleanedForLog(text), expected);
        EXPECT_EQ(publicText(text).text(), expected);
    }
}

} // namespace
} // namespace velto
