// What every platform's stored settings do.
#include "Simulation/RecordingLogSink.h"
#include "Tests/Contract/DefaultsUnderTest.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <limits>
#include <numeric>
#include <string>
#include <vector>

namespace velto {
namespace {

using namespace std::string_literals;

class UserDefaultsContractTests : public testing::Test {
  protected:
    UserDefaults& defaults() { return underTest->defaults(); }
    void reopen() { underTest->reopen(); }

    RecordingLogSink log; // what is wrong with odd values is said there, not on the terminal
    const std::unique_ptr<DefaultsUnderTest> underTest = makeDefaultsUnderTest();
};

TEST_F(UserDefaultsContractTests, ValuesSurviveARestartWithTheirTypes) {
    Data everyByte(256);
    std::iota(everyByte.begin(), everyByte.end(), std::uint8_t{0});
    const DefaultsDictionary values{
        {"true", true},
        {"false", false},
        {"one", std::int64_t{1}},
        {"one.0", 1.0},
        {"zero", std::int64_t{0}},
        {"zero.0", 0.0},
        {"least", std::numeric_limits<std::int64_t>::min()},
        {"most", std::numeric_limits<std::int64_t>::max()},
        {"tenth", 0.1},
        {"whole and huge", 1e300},
        {"smallest", std::numeric_limits<double>::denorm_min()},
        {"2^53 + 1", std::int64_t{9007199254740993}},
        {"empty", ""s},
        {"text", "Küche 🎧\n\"\\\u2028"s},
        {"looks like a number", "1.0"s},
        {"no bytes", Data{}},
        {"bytes", everyByte},
        {"com.corlent.velto/ключ \"'", "key"s},
    };
    for (const auto& [key, value] : values)
        defaults().set(key, value);
    for (const char* when : {"at once", "after a restart"}) {
        for (const auto& [key, value] : values)
            EXPECT_EQ(defaults().storedValue(key), value) << key << ' ' << when;
        EXPECT_EQ(defaults().stringValue("bytes"), std::nullopt);
        EXPECT_EQ(defaults().dataValue("text"), std::nullopt);
        reopen();
    }
    EXPECT_THAT(log.lines(), testing::IsEmpty());
}

TEST_F(UserDefaultsContractTests, AWrongTypeReadsAsMacOSReadsIt) {
    struct Reading {
        DefaultsValue stored;
        bool isOn;
        double number;
    };
    const std::vector<Reading> readings{
        {true, true, 1},
        {false, false, 0},
        {std::int64_t{1}, true, 1},
        {std::int64_t{-7}, true, -7},
        {std::int64_t{0}, false, 0},
        {0.5, true, 0.5},
        {0.0, false, 0},
        {"YES"s, true, 0},
        {"yes"s, true, 0},
        {"NO"s, false, 0},
        {"true"s, true, 0},
        {"False"s, false, 0},
        {"1"s, true, 1},
        {"0"s, false, 0},
        {"48000"s, false, 48000},
        {" 0.25 "s, false, 0.25},
        {"-1e3"s, false, -1000},
        {"44100 Hz"s, false, 44100},
        {""s, false, 0},
        {"on"s, false, 0},
        {Data{'1'}, false, 0},
    };
    for (const auto& [stored, isOn, number] : readings) {
        defaults().set("x", stored);
        reopen();
        EXPECT_EQ(defaults().value("x").transform(asBool), isOn) << testing::PrintToString(stored);
        EXPECT_EQ(defaults().value("x").transform(asDouble), number) << testing::PrintToString(stored);
    }
    EXPECT_EQ(defaults().value("absent"), std::nullopt);
}

TEST_F(UserDefaultsContractTests, AChangeOfTypeAloneIsAChange) {
    defaults().set("x", std::int64_t{1});
    for (const DefaultsValue& value : {DefaultsValue(1.0), DefaultsValue(true), DefaultsValue("1"s),
                                       DefaultsValue(Data{1}), DefaultsValue(std::int64_t{1})}) {
        reopen();
        defaults().set("x", value);
        reopen();
        EXPECT_EQ(defaults().storedValue("x"), value);
    }
}

TEST_F(UserDefaultsContractTests, RegisteredDefaultsAnswerButAreNeverStored) {
    defaults().registerDefaults({{"mode", "auto"s}, {"count", std::int64_t{3}}});
    defaults().registerDefaults({{"count", std::int64_t{5}}});
    EXPECT_EQ(defaults().stringValue("mode"), "auto");
    EXPECT_EQ(defaults().value("count"), DefaultsValue(std::int64_t{5}));
    EXPECT_EQ(defaults().storedValue("mode"), std::nullopt);
    defaults().set("mode", "manual"s);
    defaults().set("count", "not a number"s);
    EXPECT_EQ(defaults().stringValue("mode"), "manual");
    EXPECT_EQ(defaults().stringValue("count"), "not a number") << "what is stored hides what is registered";
    defaults().remove("mode");
    EXPECT_EQ(defaults().stringValue("mode"), "auto");
    defaults().synchronize();
    EXPECT_EQ(underTest->storedForOthers("mode"), std::nullopt);
    reopen();
    EXPECT_EQ(defaults().value("mode"), std::nullopt);
}

TEST_F(UserDefaultsContractTests, SynchronizeIsStoredForEverybodyWhenItReturns) {
    defaults().remove("record"); // nothing to remove
    defaults().set("record", Data{1, 2, 3});
    defaults().set("other", true);
    defaults().synchronize();
    EXPECT_EQ(underTest->storedForOthers("record"), DefaultsValue(Data{1, 2, 3}));
    defaults().remove("record");
    EXPECT_EQ(defaults().storedValue("record"), std::nullopt);
    defaults().synchronize();
    EXPECT_EQ(underTest->storedForOthers("record"), std::nullopt);
    reopen();
    EXPECT_EQ(defaults().storedValue("record"), std::nullopt);
    EXPECT_EQ(defaults().value("other"), DefaultsValue(true));
}

TEST_F(UserDefaultsContractTests, OddValuesAndTextDoNoHarm) {
    defaults().set("rate", 48000.0);
    defaults().set("level", -std::numeric_limits<double>::infinity());
    defaults().set("level", std::numeric_limits<double>::quiet_NaN());
    defaults().set("broken", "a\xFF"s);
    defaults().set("\xC3(", true);
    defaults().remove("\xFF");
    EXPECT_EQ(defaults().storedValue("\xFF"), std::nullopt);
    defaults().set(std::string(500, 'k'), std::string(100'000, 'v'));
    reopen();
    EXPECT_EQ(defaults().value("rate"), DefaultsValue(48000.0));
    EXPECT_EQ(defaults().stringValue(std::string(500, 'k')), std::string(100'000, 'v'));
    EXPECT_NE(defaults().stringValue("broken"), "a\xFF") << "absent, or made valid";
}

TEST_F(UserDefaultsContractTests, AValueOfAForeignTypeIsAbsentUntilItIsReplaced) {
    underTest->storeListAndReopen("list");
    EXPECT_EQ(defaults().storedValue("list"), std::nullopt);
    defaults().set("ours", true);
    reopen();
    EXPECT_EQ(defaults().storedValue("list"), std::nullopt);
    defaults().set("list", "text"s);
    reopen();
    EXPECT_EQ(defaults().stringValue("list"), "text");
}

} // namespace
} // namespace velto
