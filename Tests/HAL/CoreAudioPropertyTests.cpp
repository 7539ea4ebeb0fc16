#include "Tests/HAL/HALTest.h"
#include "VeltoCore/CoreAudio/CoreAudioProperty.h"

#include <limits>

namespace velto {

namespace {

using ::testing::IsEmpty;
using Property = CoreAudioProperty;

constexpr OSStatus badSize = kAudioHardwareBadPropertySizeError;

class CoreAudioPropertyTest : public HALTest {
  protected:
    static constexpr auto address = global(fourCharCode("test"));
};

TEST_F(CoreAudioPropertyTest, ArraysBelieveNoSize) {
    struct Case {
        std::vector<UInt32> elements;
        std::optional<UInt32> announced;
        std::optional<UInt32> delivered;
        std::vector<UInt32> expected;
    };
    const std::vector<Case> cases{
        {{1, 2, 3}, {}, {}, {1, 2, 3}},
        {{1}, 12, {}, {1}},              // shrank after the size query
        {{1, 2, 3}, 4, {}, {1}},         // grew after it
        {{1, 2, 3}, 10, {}, {1, 2}},     // not a whole number of elements
        {{1, 2}, {}, 4'000'000, {1, 2}}, // claims to have written past the buffer
        {{1, 2}, {}, 7, {1}},
        {{1, 2}, {}, 0, {}},
        {{1}, 3, {}, {}}, // less than one element
    };
    for (const Case& c : cases) {
        auto& property = hal.set(device, address, c.elements);
        property.announcedSize = c.announced;
        property.deliveredSize = c.delivered;
        EXPECT_EQ(Property::array<UInt32>(device, address), c.expected);
    }
}

TEST_F(CoreAudioPropertyTest, AnnouncedSizeBeyondReasonIsAnErrorNotAnAllocation) {
    const auto streams = output(kAudioDevicePropertyStreamConfiguration);
    hal.set(device, address, UInt32{1}).announcedSize = std::numeric_limits<UInt32>::max();
    hal.set(device, streams, UInt32{1}).announcedSize = std::numeric_limits<UInt32>::max();
    EXPECT_EQ(statusThrown([&] { Property::array<UInt32>(device, address); }), badSize);
    EXPECT_EQ(statusThrown([&] { Property::channelCount(device, kAudioObjectPropertyScopeOutput); }),
              badSize);
}

TEST_F(CoreAudioPropertyTest, ShortReadsAreBadSizes) {
    hal.set(device, address, UInt32{1}).deliveredSize = 3;
    EXPECT_EQ(statusThrown([&] { Property::value<UInt32>(device, address); }), badSize);
    EXPECT_EQ(statusThrown([&] { Property::value<double>(device, address); }), badSize);
    hal.set(device, address, UInt32{7}).deliveredSize = 400;
    EXPECT_EQ(Property::value<UInt32>(device, address), 7u);

    hal.setObject(device, address, fake::string("Desk")).deliveredSize = 4; // half a pointer
    EXPECT_EQ(statusThrown([&] { Property::string(device, address); }), badSize);
    EXPECT_EQ(statusThrown([&] { Property::dictionary(device, address); }), badSize);
    EXPECT_EQ(statusThrown([&] { Property::stringArray(device, address); }), badSize);
    EXPECT_THAT(log, IsEmpty()); // the HAL reported no failure
}

TEST_F(CoreAudioPropertyTest, TextIsUTF8WhateverItHolds) {
    const std::vector<std::pair<std::u16string, std::string>> cases{
        {u"", ""},
        {u"Jürgen’s 🎧 スピーカー", "Jürgen’s 🎧 スピーカー"},
        {std::u16string(u"a\0b", 3), std::string("a\0b", 3)},
        {u"half \xD83C pair 🎧", "half \uFFFD pair 🎧"},
        {u"\xDFA7\xD83C\xD83C", "\uFFFD\uFFFD\uFFFD"},
    };
    for (const auto& [units, expected] : cases) {
        hal.setObject(device, address, fake::string(units));
        EXPECT_EQ(Property::string(device, address), expected);
    }
}

TEST_F(CoreAudioPropertyTest, MissingAndMistypedObjects) {
    for (const auto make : {+[] { return CFTypeRef{}; }, +[] { return fake::data(); }}) {
        hal.setObject(device, address, make());
        EXPECT_EQ(statusThrown([&] { Property::string(device, address); }), kAudioHardwareUnspecifiedError);
        EXPECT_THAT(Property::dictionary(device, address), IsEmpty());
        EXPECT_THAT(Property::stringArray(device, address), IsEmpty());
    }
}

TEST_F(CoreAudioPropertyTest, DictionaryKeepsWhatTheSystemCanUse) {
    hal.setObject(
        device, address,
        fake::dictionary(
            {{fake::string("name"), fake::string("Velto Output")},
             {fake::string("private"), fake::boolean(true)},
             {fake::string("latency"), fake::number(2.5)},
             {fake::number(std::int64_t{7}), fake::string("key is no text")},
             {fake::string("icon"), fake::data()},
             {fake::string("subdevices"),
              fake::array({fake::dictionary({{fake::string("drift"), fake::number(std::int64_t{-1})}})})}}));
    const CompositionDictionary expected{
        {"name", {"Velto Output"}},
        {"private", {std::int64_t{1}}},
        {"latency", {2.5}},
        {"icon", {}},
        {"subdevices", {CompositionArray{{CompositionDictionary{{"drift", {std::int64_t{-1}}}}}}}},
    };
    EXPECT_EQ(Property::dictionary(device, address), expected);
}

TEST_F(CoreAudioPropertyTest, ChannelsAreSummedAsFarAsTheBytesReach) {
    constexpr auto scope = kAudioObjectPropertyScopeOutput;
    constexpr auto streams = output(kAudioDevicePropertyStreamConfiguration);
    constexpr UInt32 most = std::numeric_limits<UInt32>::max();
    EXPECT_EQ(Property::channelCount(device, scope), 0);
    EXPECT_THAT(hal.calls, IsEmpty());

    struct Case {
        UInt32 claimedBuffers;
        std::vector<UInt32> channels;
        std::int64_t expected;
        std::optional<UInt32> announced = {};
        std::optional<UInt32> delivered = {};
    };
    const std::vector<Case> cases{
        {0, {}, 0},
        {2, {2, 6}, 8},
        {1, {2, 6}, 2},
        {most, {2, 6}, 8}, // counts buffers that are not there
        {2, {most, most}, 2 * std::int64_t{most}},
        {2, {2, 6}, 2, 8 + 16 + 15}, // the second buffer is cut off
        {2, {2, 6}, 2, {}, 8 + 16},
        {2, {2, 6}, 0, 5},
        {2, {2, 6}, 8, {}, most},
        {2, {2, 6}, 0, 0},
    };
    for (const Case& c : cases) {
        std::vector<UInt32> words{c.claimedBuffers, 0};
        for (const UInt32 channels : c.channels)
            words.insert(words.end(), {channels, 0, 0, 0});
        auto& property = hal.set(device, streams, words);
        property.announcedSize = c.announced;
        property.deliveredSize = c.delivered;
        EXPECT_EQ(Property::channelCount(device, scope), c.expected);
    }
    EXPECT_EQ(hal.calls.back(), "GetPropertyDataSize"); // a size of 0 is not read
}

} // namespace

} // namespace velto
