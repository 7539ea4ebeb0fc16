#include "Velto/Linux/ClickPlace.h"

#include <gmock/gmock.h>

#include <optional>
#include <vector>

namespace velto {
namespace {

TEST(ClickPlaceTests, APlaceIsReadInThePixelsThatTheDesktopCountsIn) {
    const ScaledScreen plain{{0, 0, 1280, 800}, 1};
    const ScaledScreen doubled{{0, 0, 640, 400}, 2};
    const ScaledScreen between{{0, 0, 1280, 800}, 1.5};
    const ScaledScreen second{{1280, 0, 1280, 720}, 2}; // beside a plain one
    const struct {
        const char* desktop;
        QPoint told;
        std::optional<QPoint> pointer;
        std::vector<ScaledScreen> screens;
        QPoint expected;
    } cases[]{
        {"one that doesn't scale", {1200, 790}, std::nullopt, {plain}, {1200, 790}},
        {"one that tells the hardware's pixels", {1200, 790}, std::nullopt, {doubled}, {600, 395}},
        {"the same, with the pointer on the item", {1200, 790}, QPoint(604, 391), {doubled}, {600, 395}},
        {"a scale of one and a half", {1800, 1185}, std::nullopt, {between}, {1200, 790}},
        {"one that tells the program's pixels", {600, 395}, QPoint(604, 391), {doubled}, {600, 395}},
        {"a toolkit that scales where the program does not",
         {600, 12},
         QPoint(1204, 20),
         {plain},
         {1200, 24}},
        {"keys, with the pointer far away", {1200, 790}, QPoint(20, 30), {plain}, {1200, 790}},
        {"keys, scaled", {1200, 790}, QPoint(20, 30), {doubled}, {600, 395}},
        {"one that enlarges what X11 draws", {1550, 1167}, std::nullopt, {plain}, {1033, 778}},
        {"the second of two screens", {1680, 20}, std::nullopt, {plain, second}, {1480, 10}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(clickPlace(c.told, c.pointer, c.screens), c.expected) << c.desktop;
}

} // namespace
} // namespace velto
