// Keys for the whole desktop, and what Settings says of them.
#include "Tests/Shell/ShellTest.h"

namespace velto {
namespace {

using State = GlobalShortcutService::State;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class GlobalShortcutsTests : public ShellTest {
  protected:
    SettingRow row() {
        for (SettingRow& row : settings().list().rows())
            if (row.key == "globalShortcuts") return std::move(row);
        return {};
    }
    void setWanted(bool isWanted) { settings().list().set("globalShortcuts", isWanted); }
};

TEST_F(GlobalShortcutsTests, PlayStopAndMuteWhileTheyAreWanted) {
    launch();
    choose("bluetooth", "builtin");
    EXPECT_THAT(shortcuts.shortcuts(), IsEmpty()) << "nobody is asked unasked";
    setWanted(true);
    ASSERT_THAT(shortcuts.shortcuts(), SizeIs(2));
    shortcuts.press("play-or-stop");
    run();
    EXPECT_TRUE(menuBar().isPlaying());
    const auto muted = [this] {
        return std::pair(world.device("bluetooth").isMuted.value(), world.device("builtin").isMuted.value());
    };
    menuBar().toggleMute("bluetooth");
    for (const bool expected : {true, false, true}) {
        shortcuts.press("mute");
        run();
        EXPECT_EQ(muted(), std::pair(expected, expected));
    }
    shortcuts.press("something else");
    shortcuts.press("play-or-stop");
    run();
    EXPECT_FALSE(menuBar().isPlaying());

    quit();
    EXPECT_THAT(shortcuts.shortcuts(), IsEmpty());
    app.reset();
    launch(); // the setting is kept
    EXPECT_THAT(shortcuts.shortcuts(), SizeIs(2));
    setWanted(false);
    EXPECT_THAT(shortcuts.shortcuts(), IsEmpty());
}

TEST_F(GlobalShortcutsTests, SettingsNameTheKeysOrWhatToBind) {
    launch();
    settings().inquireShortcuts();
    EXPECT_THAT(row().help, HasSubstr("in any program"));
    setWanted(true);
    shortcuts.assignKeys(0, "Meta+P");
    EXPECT_EQ(row().help, "Play together or stop: Meta+P; Mute or unmute: no keys yet. "
                          "The desktop's keyboard settings assign them.");
    for (const State state : {State::refused, State::unavailable}) {
        setWanted(false);
        shortcuts.answer = state;
        setWanted(true);
        EXPECT_THAT(row().help, HasSubstr("“velto toggle” and “velto mute toggle”"));
        EXPECT_EQ(row().isAvailable, state == State::refused);
    }
}

} // namespace
} // namespace velto
