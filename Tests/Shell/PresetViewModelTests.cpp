// The list of saved setups, as a user changes it.
#include "Tests/Shell/ShellTest.h"

#include <iterator>

namespace velto {
namespace {

using testing::ElementsAre;
using testing::Optional;

class PresetViewModelTests : public ShellTest {
  protected:
    PresetViewModelTests() {
        launch();
        play("bluetooth", "builtin");
        first = save("First");
        second = save("Second");
        third = save("Third");
        menuBar().stop();
        run();
    }
    PresetRow row(const UUID& id) {
        for (PresetRow& row : presets().presetRows())
            if (row.id == id) return std::move(row);
        return {};
    }

    UUID first;
    UUID second;
    UUID third;
};

TEST_F(PresetViewModelTests, ShowsWhatCanPlayAndWhatPlays) {
    EXPECT_THAT(presetNames(), ElementsAre("First", "Second", "Third")) << "not what plays as the last used";
    EXPECT_EQ(row(first).outputs, "Headphones + Built-in Speakers");
    EXPECT_TRUE(row(first).isReady);
    unplug("bluetooth");
    EXPECT_FALSE(row(first).isReady);
    presets().activate(first);
    run();
    EXPECT_EQ(menuBar().errorText(),
              "Headphones could not be found. Make sure it is connected and try again.");
    replug("bluetooth");
    presets().activate(first);
    run();
    EXPECT_TRUE(row(first).isActive);
    EXPECT_FALSE(row(second).isActive);
    presets().activate(UUID::random()); // deleted meanwhile
    run();
    EXPECT_TRUE(row(first).isActive);
}

TEST_F(PresetViewModelTests, SaysWhatThereIsToKnowOfEach) {
    EXPECT_EQ(row(first).note, "");
    presets().toggleAutoConnect(first);
    EXPECT_EQ(row(first).note, "Auto Connect is off");
    EXPECT_EQ(presets().autoConnectOffer(), "First");
    presets().toggleAutoConnect(first);
    EXPECT_EQ(presets().autoConnectOffer(), "") << "taken back";
    presets().toggleAutoConnect(first);
    presets().panelClosed();
    EXPECT_EQ(presets().autoConnectOffer(), "");
    presets().toggleAutoConnect(second);
    unplug("bluetooth");
    EXPECT_EQ(row(first).note, "Headphones is not connected");
    unplug("builtin");
    EXPECT_EQ(row(first).note, "Both outputs are not connected");
    replug("builtin");
    presets().acceptAutoConnectOffer();
    EXPECT_EQ(presets().autoConnectOffer(), "");
    replug("bluetooth");
    EXPECT_EQ(row(first).note, "Playing") << "it started by itself";
    EXPECT_EQ(row(second).note, "");
}

TEST_F(PresetViewModelTests, RenamesNothingToABlankNorWhatIsDeleted) {
    presets().beginRename(third);
    presets().setRenameText(" Last Used ");
    presets().commitRename();
    EXPECT_TRUE(row(third).isRenaming && !row(third).renameProblem.empty());
    preferences().renamePreset(third, "Last Used");
    EXPECT_EQ(row(third).name, "Third");
    presets().beginRename(third);
    presets().setRenameText(" ");
    presets().commitRename();
    EXPECT_EQ(row(third).name, "Third");
    presets().beginRename(third);
    presets().deletePreset(third);
    presets().commitRename();
    EXPECT_EQ(presets().renameTarget(), std::nullopt);
    presets().undoDelete();
    EXPECT_EQ(row(third).name, "Third");
}

TEST_F(PresetViewModelTests, BringsADeletedPresetBackAsItWas) {
    preferences().lastPresetID.set(second);
    const auto before = preferences().presets();
    const auto stored = defaults.stored();
    EXPECT_FALSE(presets().canUndoDelete());
    presets().deletePreset(second);
    EXPECT_EQ(preferences().lastPresetID(), std::nullopt);
    EXPECT_EQ(presets().deletedPresetName(), "Second");
    loop.advance(std::chrono::seconds(5)); // not dated anew
    presets().undoDelete();
    EXPECT_EQ(preferences().presets(), before);
    EXPECT_THAT(preferences().lastPresetID(), Optional(second));
    EXPECT_EQ(defaults.stored(), stored);
    presets().undoDelete();
    EXPECT_EQ(preferences().presets(), before) << "once";

    presets().deletePreset(UUID::random());
    EXPECT_FALSE(presets().canUndoDelete());
    presets().deletePreset(first);
    presets().panelClosed();
    presets().undoDelete();
    EXPECT_THAT(presetNames(), ElementsAre("Second", "Third"));
}

TEST_F(PresetViewModelTests, LosesNothingThatHappenedBeforeTheUndo) {
    preferences().lastPresetID.set(second);
    presets().deletePreset(second);
    presets().toggleFavorite(third);
    preferences().renamePreset(first, "Earlier");
    play("bluetooth", "usb"); // remembers another pair
    const auto lastUsed = preferences().lastPresetID();
    save("Fourth");
    presets().undoDelete();
    EXPECT_THAT(presetNames(), ElementsAre("Earlier", "Second", "Third", "Fourth"));
    EXPECT_TRUE(row(third).isFavorite);
    EXPECT_EQ(preferences().lastPresetID(), lastUsed);

    // Its neighbours have gone too, and the whole list.
    presets().deletePreset(third);
    for (const UUID& id : {first, second})
        preferences().removePreset(id);
    presets().undoDelete();
    EXPECT_THAT(presetNames(), ElementsAre("Third", "Fourth"));
    presets().deletePreset(third);
    preferences().setPresets({});
    presets().undoDelete();
    EXPECT_THAT(presetNames(), ElementsAre("Third"));
}

} // namespace
} // namespace velto
