#include "VeltoCore/Settings/AudioPreset.h"

#include <gmock/gmock.h>

#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace velto {
namespace {

using Kind = AudioTransportType::Kind;
using testing::HasSubstr;

Data bytes(std::string_view text) { return Data(text.begin(), text.end()); }
std::string text(const std::optional<Data>& data) {
    return data ? std::string(data->begin(), data->end()) : "none";
}

AudioPreset preset() {
    return {
        .id = *UUID::fromString("0f8fad5b-d9cb-469f-a165-70867728950e"),
        .name = "Living Room",
        .first = {.uid = "a", .name = "A", .transportType = Kind::builtIn},
        .second = {.uid = "b", .name = "B", .transportType = AudioTransportType(123)},
        .createdAt = Date{100},
        .updatedAt = Date{200.5},
        .deviceSettings = {{"a", {.volume = 0.3F, .isMuted = false, .delayMilliseconds = 12.4}}, {"b", {}}},
        .masterVolume = 0.7F,
        .autoConnect = true,
        .isFavorite = false,
    };
}

constexpr std::string_view presetText =
    R"({"id":"0F8FAD5B-D9CB-469F-A165-70867728950E","name":"Living Room",)"
    R"("first":{"uid":"a","name":"A","transportType":{"builtIn":{}}},)"
    R"("second":{"uid":"b","name":"B","transportType":{"unknown":{"_0":123}}},)"
    R"("createdAt":100,"updatedAt":200.5,)"
    R"("deviceSettings":{"a":{"volume":0.3,"isMuted":false,"delayMilliseconds":12.4},"b":{}},)"
    R"("masterVolume":0.7,"autoConnect":true,"isFavorite":false})";

/// The stored preset with one part of its text replaced.
std::string changed(std::string_view part, std::string_view replacement) {
    std::string result(presetText);
    const auto place = result.find(part);
    if (place == std::string::npos) throw std::logic_error("no such part: " + std::string(part));
    return result.replace(place, part.size(), replacement);
}

std::string listOf(const std::string& element) { return "[" + element + "]"; }

TEST(AudioPresetTests, StoredFormReadsBack) {
    EXPECT_EQ(text(encodePresets({preset()})), listOf(std::string(presetText)));
    EXPECT_EQ(decodePresets(bytes(listOf(std::string(presetText)))), std::vector{preset()});
    EXPECT_EQ(text(encodePresets({})), "[]");
    EXPECT_EQ(decodePresets(bytes("[]")), std::vector<AudioPreset>{});
}

TEST(AudioPresetTests, EveryTransportReadsBack) {
    std::vector<AudioPreset> presets;
    for (int kind = 0; kind <= static_cast<int>(Kind::continuityCapture); ++kind) {
        presets.push_back(preset());
        presets.back().first.transportType = static_cast<Kind>(kind);
    }
    presets.front().first.transportType = AudioTransportType(0xFFFFFFFF);
    const auto data = encodePresets(presets);
    EXPECT_EQ(decodePresets(*data), presets);
    EXPECT_THAT(text(data), HasSubstr(R"({"virtual":{}})"));
    EXPECT_THAT(text(data), HasSubstr(R"({"unknown":{"_0":4294967295}})"));
}

TEST(AudioPresetTests, NumbersReadBackExactly) {
    std::vector<AudioPreset> presets;
    float volume = std::numeric_limits<float>::denorm_min();
    for (int i = 0; i < 2000; ++i, volume *= 1.0931F) {
        presets.push_back(preset());
        presets.back().masterVolume = volume;
        presets.back().updatedAt = Date{static_cast<double>(volume) / 3};
    }
    EXPECT_EQ(decodePresets(*encodePresets(presets)), presets);
    for (const double odd :
         {std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
        presets.back().masterVolume = static_cast<float>(odd);
        EXPECT_EQ(encodePresets(presets), std::nullopt);
        presets.back().masterVolume.reset();
        presets.back().createdAt = Date{odd};
        EXPECT_EQ(encodePresets(presets), std::nullopt);
    }
}

TEST(AudioPresetTests, ForeignNamesOfAnyKindCanBeStored) {
    AudioPreset foreign = preset();
    foreign.first.name = std::string("\0\x1F\"\\\u2028é😀", 13);
    foreign.deviceSettings = {{"\"key\"\n", {.volume = 1.0F}}};
    EXPECT_EQ(decodePresets(*encodePresets({foreign})), std::vector{foreign});

    foreign.first.name = "broken \xFF\xC3( name";
    const auto read = decodePresets(*encodePresets({foreign}));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->at(0).first.name, "broken \uFFFD\uFFFD( name");
}

TEST(AudioPresetTests, ReadsListsOfEarlierVersions) {
    const auto read = decodePresets(bytes(R"([{"id":"0f8fad5b-d9cb-469f-a165-70867728950e","name":"Old",
        "first":{"uid":"a","name":"A","transportType":{"usb":{"later":1}},"later":{}},
        "second":{"uid":"b","name":"B","transportType":{"hdmi":{}}},"createdAt":5e1,"later":[1,2]}])"));
    ASSERT_TRUE(read);
    const AudioPreset& old = read->at(0);
    EXPECT_EQ(old.updatedAt, Date{50});
    EXPECT_TRUE(old.deviceSettings.empty());
    EXPECT_EQ(old.masterVolume, std::nullopt);
    EXPECT_FALSE(old.autoConnect || old.isFavorite);
    EXPECT_EQ(old.id, preset().id);

    const std::string nulls = changed(R"("autoConnect":true)", R"("autoConnect":null)");
    const auto withNull = decodePresets(bytes(listOf(nulls)));
    ASSERT_TRUE(withNull);
    EXPECT_FALSE(withNull->at(0).autoConnect);
}

TEST(AudioPresetTests, RefusesWhatIsNotExactlyAPreset) {
    const auto message = [](const std::string& element) {
        const auto read = decodePresets(bytes(listOf(std::string(presetText) + "," + element)));
        return read ? "read" : read.error().path + " " + read.error().message;
    };
    EXPECT_EQ(message(changed(R"("createdAt":100,)", "")), "[1].createdAt The key is missing.");
    EXPECT_EQ(message(changed("0F8F", "0G8F")), "[1].id Expected a UUID.");
    EXPECT_EQ(message(changed(R"("name":"A")", R"("name":null)")), "[1].first.name Expected a string.");
    EXPECT_EQ(message(changed(R"(true)", "1")), "[1].autoConnect Expected true or false.");
    EXPECT_EQ(message(changed("0.3", "1e39")), "[1].deviceSettings.a.volume The number is too large.");
    EXPECT_EQ(message(changed(R"("b":{})", R"("b":null)")), "[1].deviceSettings.b Expected an object.");

    const std::string at = "[1].first.transportType";
    EXPECT_EQ(message(changed(R"({"builtIn":{}})", R"({"builtIn":{},"usb":{}})")),
              at + " Invalid number of keys found, expected one.");
    EXPECT_EQ(message(changed(R"({"builtIn":{}})", R"({"BuiltIn":{}})")), at + " Unknown transport type.");
    EXPECT_EQ(message(changed(R"({"builtIn":{}})", R"({"unknown":{}})")), at + "._0 The key is missing.");
    for (const char* code : {"-1", "4294967296", "1.5", "18446744073709551616", "\"1\"", "true"})
        EXPECT_THAT(message(changed(":123", ":" + std::string(code))),
                    HasSubstr("[1].second.transportType._0 Expected a"));
}

TEST(AudioPresetTests, RefusesBrokenTextAndDeepNesting) {
    const std::string broken[] = {"",           "[",     "{}",    "[null]",
                                  "[\"\xFF\"]", "[] []", "[NaN]", std::string(100'000, '[')};
    for (const std::string& stored : broken)
        EXPECT_FALSE(decodePresets(bytes(stored))) << stored.substr(0, 20);

    // The list, the preset, and 30 more levels make 32. Brackets within a string are no levels.
    const auto nested = [](std::size_t levels) {
        const std::string deep = std::string(levels, '[') + "\"[[[[{{{{\\\"[[\"" + std::string(levels, ']');
        return bytes(listOf(changed(R"("name")", "\"later\":" + deep + ",\"name\"")));
    };
    EXPECT_TRUE(decodePresets(nested(30)));
    EXPECT_FALSE(decodePresets(nested(31)));
}

} // namespace
} // namespace velto
