// The item in the status area: how it looks in each state, and what its menu offers then.
#include "Tests/Shell/ShellTest.h"
#include "Velto/Shell/StatusItemViewModel.h"

#include <algorithm>

namespace velto {
namespace {

using testing::ElementsAre;

class StatusItemTests : public ShellTest {
  protected:
    StatusItemTests() {
        launch();
        item = std::make_unique<StatusItemViewModel>(menuBar());
    }
    /// A line an entry: in brackets what can't be chosen, with a tick what is checked.
    std::vector<std::string> menu() {
        std::vector<std::string> lines;
        for (const StatusMenuEntry& entry : item->menu({})) {
            const std::string line = entry.label + (entry.isChecked.value_or(false) ? " ✓" : "");
            lines.push_back(entry.isEnabled ? line : "[" + line + "]");
        }
        lines.resize(lines.size() - ending.size());
        return lines;
    }
    void choose(std::string_view label) {
        const auto entries = item->menu({});
        const auto found = std::ranges::find(entries, label, &StatusMenuEntry::label);
        ASSERT_NE(found, entries.end()) << label;
        found->chosen();
        run();
    }
    using ShellTest::choose;

    const std::vector<std::string> ending{"", "Open Velto", "Settings…", "", "Quit Velto"};
    std::unique_ptr<StatusItemViewModel> item;
};

TEST_F(StatusItemTests, EachStateHasItsFormItsWordsAndItsMenu) {
    preferences().disconnectBehavior.set(DisconnectBehavior::askUser);
    const struct {
        const char* what;
        std::function<void()> happens;
        StatusItemForm form;
        const char* toolTip;
        std::vector<std::string> menu;
    } steps[]{
        {"nothing is chosen", [] {}, StatusItemForm::idle, "Not playing", {"[Play Together]"}},
        {"two are chosen",
         [&] { choose("builtin", "bluetooth"); },
         StatusItemForm::idle,
         "Not playing",
         {"Play Together: Built-in Speakers + Headphones"}},
        {"they play",
         [&] { choose("Play Together: Built-in Speakers + Headphones"); },
         StatusItemForm::playing,
         "Built-in Speakers + Headphones, 50%",
         {"Stop: Built-in Speakers + Headphones", "", "[Volume: 50%]", "Mute"}},
        {"mute",
         [&] { choose("Mute"); },
         StatusItemForm::playing,
         "Built-in Speakers + Headphones, muted",
         {"Stop: Built-in Speakers + Headphones", "", "[Volume: muted]", "Mute ✓"}},
        {"and back",
         [&] { choose("Mute"); },
         StatusItemForm::playing,
         "Built-in Speakers + Headphones, 50%",
         {"Stop: Built-in Speakers + Headphones", "", "[Volume: 50%]", "Mute"}},
        {"one is lost",
         [&] { unplug("bluetooth"); },
         StatusItemForm::asking,
         "Headphones disconnected, 50%",
         {"Keep playing on remaining outputs", "Stop playing together", "", "[Volume: 50%]", "Mute"}},
        {"play on",
         [&] { choose("Keep playing on remaining outputs"); },
         StatusItemForm::missing,
         "Headphones disconnected, 50%",
         {"Stop: Built-in Speakers", "", "[Volume: 50%]", "Mute"}},
        {"stop",
         [&] { choose("Stop: Built-in Speakers"); },
         StatusItemForm::idle,
         "Not playing",
         {"[Play Together]"}},
    };
    for (const auto& step : steps) {
        step.happens();
        run();
        if (menuBar().hasMasterVolume()) menuBar().setMasterVolume(0.5F);
        EXPECT_EQ(item->form(), step.form) << step.what;
        EXPECT_EQ(item->toolTip(), step.toolTip) << step.what;
        EXPECT_EQ(menu(), step.menu) << step.what;
    }
}

TEST_F(StatusItemTests, FavouriteSetupsStartFromTheMenu) {
    play("bluetooth", "usb");
    const UUID evening = save("Evening");
    save("No favourite");
    presets().toggleFavorite(evening);
    menuBar().stop();
    run();
    EXPECT_THAT(menu(), testing::Contains("Evening"));
    EXPECT_THAT(menu(), testing::Not(testing::Contains("No favourite")));
    choose("Evening");
    EXPECT_TRUE(menuBar().isPlaying());
    EXPECT_THAT(menu(), testing::Contains("Evening ✓"));
    choose("Stop: Headphones + USB DAC");
    unplug("usb");
    EXPECT_THAT(menu(), testing::Contains("[Evening]"));
}

} // namespace
} // namespace velto
