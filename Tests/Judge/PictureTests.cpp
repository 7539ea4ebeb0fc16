#include "Tests/Judge/Studio.h"
#include "Tools/Judge/Timeline.h"

#include <gmock/gmock.h>

#include <regex>
#include <set>

namespace velto::judge {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using enum Studio::Output;

std::string draw(const Studio& studio, std::vector<StoryStep> steps) {
    const Material material = studio.material(std::move(steps));
    return timelineSVG(material, judgeStory(material.story, material.source, material.recordings));
}

/// Where the source's lane begins.
double firstLane(const std::string& svg) {
    std::smatch found;
    std::regex_search(svg, found, std::regex("class=\"lane\" x=\"[0-9.]+\" y=\"([0-9.]+)\""));
    return std::stod(found[1]);
}

/// The vertical middles, rounded to lanes, of what is drawn in that style.
std::set<int> lanesDrawn(const std::string& svg, const std::string& style) {
    std::set<int> lanes;
    const std::regex path("<path class=\"" + style + "\" d=\"M[0-9.]+ ([0-9.]+)L");
    for (std::sregex_iterator found(svg.begin(), svg.end(), path), end; found != end; ++found)
        lanes.insert(static_cast<int>((std::stod((*found)[1]) - firstLane(svg)) / 80));
    return lanes;
}

TEST(PictureTests, OutputsInStepAreDrawnAlikeAndFaultsStandOut) {
    Studio studio;
    studio.play(desk, 0.5, 6);
    studio.play(usb, 0.5, 3.2);
    StoryStep alone = Studio::step({desk});
    std::tie(alone.from, alone.to) = std::pair(4, 6);
    const std::string good = draw(studio, {Studio::step({desk, usb}), alone});
    EXPECT_THAT(lanesDrawn(good, "source"), ElementsAre(0));
    EXPECT_THAT(lanesDrawn(good, "inStep"), ElementsAre(1, 2));
    EXPECT_THAT(lanesDrawn(good, "alone"), ElementsAre(1));
    EXPECT_THAT(lanesDrawn(good, "fault"), IsEmpty());
    EXPECT_THAT(good, Not(HasSubstr("class=\"failSpan\"")));

    studio.play(usb, 0.5, 3.2, 1);
    const std::string skewed = draw(studio, {Studio::step({desk, usb}), alone});
    EXPECT_THAT(lanesDrawn(skewed, "inStep"), IsEmpty());
    EXPECT_THAT(lanesDrawn(skewed, "fault"), ElementsAre(1, 2));

    studio.play(display, 0, 8);
    const std::string intruded = draw(studio, {alone});
    EXPECT_THAT(lanesDrawn(intruded, "fault"), ElementsAre(3));
    EXPECT_THAT(intruded, HasSubstr("class=\"failSpan\""));
}

TEST(PictureTests, PictureStaysSmallAndWellFormedWhateverItShows) {
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
} // namespace velto::judge
