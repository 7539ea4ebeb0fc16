#include "VeltoCore/Aggregate/AggregateDeviceDescription.h"

#include <gmock/gmock.h>

namespace velto {
namespace {

AggregateDeviceDescription description() {
    return {.uid = "agg",
            .name = "Velto Output",
            .subDevices = {{"z", true}, {"a", false}},
            .mainSubDeviceUID = "a",
            .isStacked = true,
            .isPrivate = false};
}

TEST(AggregateDeviceDescriptionTests, ComposesExactlyWhatTheHardwareLayerTakes) {
    const auto integer = [](std::int64_t value) { return CompositionValue{value}; };
    const CompositionDictionary expected{
        {"uid", {"agg"}},
        {"name", {"Velto Output"}},
        {"master", {"a"}},
        {"stacked", integer(1)},
        {"private", integer(0)},
        {"subdevices", // in the order given, main or not
         {CompositionArray{
             {CompositionDictionary{{"uid", {"z"}}, {"drift", integer(1)}}},
             {CompositionDictionary{{"uid", {"a"}}, {"drift", integer(0)}}},
         }}},
    };
    EXPECT_EQ(description().dictionaryRepresentation(), expected);
}

TEST(AggregateDeviceDescriptionTests, FlagsAndAnEmptyListAreWrittenOut) {
    auto bare = description();
    bare.subDevices.clear();
    bare.isStacked = false;
    bare.isPrivate = true;
    const CompositionDictionary dictionary = bare.dictionaryRepresentation();
    EXPECT_EQ(dictionary.at("subdevices"), CompositionValue{CompositionArray{}});
    EXPECT_EQ(dictionary.at("stacked"), CompositionValue{std::int64_t{0}});
    EXPECT_EQ(dictionary.at("private"), CompositionValue{std::int64_t{1}});
}

TEST(AggregateDeviceDescriptionTests, TheOrderOfSubDevicesCounts) {
    auto other = description();
    std::swap(other.subDevices[0], other.subDevices[1]);
    EXPECT_NE(other, description());
}

} // namespace
} // namespace velto
