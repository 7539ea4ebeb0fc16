#include "Tools/Showcase/Timeline.h"

#include "Tests/Judge/Studio.h"

#include <gmock/gmock.h>

namespace velto {
namespace {

using namespace judge;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using enum Studio::Output;

TEST(TimelineTests, PictureStaysSmallAndWellFormedWhateverItShows) {
    Studio studio;
    for (auto& recording : studio.recordings)
        recording = noise(recording.size(), 3);
    Material material = studio.material({Studio::step({desk, usb})});
    material.story.outputs[0].name = "<script>&\"'\x1B[31m";
    material.story.steps[0].name = "a\nb";
    for (int i = 0; i < 40; ++i)
        material.story.events.push_back({.time = 8 - 0.2 * i, .label = std::string(200, '>')});
    const std::string svg =
        timelineSVG(material, judgeStory(material.story, material.source, material.recordings));
    EXPECT_LT(svg.size(), 500'000);
    EXPECT_THAT(svg,
                AllOf(HasSubstr("&lt;script&gt;&amp;\"' [31m"), HasSubstr(">a b<"), Not(HasSubstr("\x1B"))));
}

} // namespace
} // namespace velto
