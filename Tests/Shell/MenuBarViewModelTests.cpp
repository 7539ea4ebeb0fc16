// What the panel shows and does, as a user goes through it.
#include "Tests/Shell/ShellTest.h"

#include <chrono>

namespace velto {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::Eq;
using testing::Field;
using testing::IsEmpty;
using testing::Optional;
using testing::StartsWith;

class MenuBarTests : public ShellTest {
  protected:
    MenuBarTests() { launch(); }

    std::vector<std::string> offered(Slot slot) {
        std::vector<std::string> rows;
        for (const OutputRow& row : menuBar().pickerRows(slot))
            rows.push_back(row.uid + (row.isConnected ? "" : " gone"));
        return rows;
    }
    std::vector<std::string> chosen() {
        return {menuBar().firstDeviceUID().value_or("-"), menuBar().secondDeviceUID().value_or("-")};
    }
    std::vector<std::string> cards() {
        std::vector<std::string> uids;
        for (const OutputCard& card : menuBar().outputCards())
            uids.push_back(card.output.uid + (card.output.isConnected ? "" : " gone"));
        return uids;
    }
};

// Choosing

TEST_F(MenuBarTests, OffersInEachSlotWhatTheOtherHasNotTaken) {
    EXPECT_THAT(offered(Slot::first), ElementsAre("builtin", "hdmi", "bluetooth", "usb"));
    EXPECT_THAT(menuBar().selectionHint(), Optional(Eq("Choose two outputs to play together.")));
    EXPECT_FALSE(menuBar().canPlay());
    menuBar().choose(Slot::first, "usb");
    EXPECT_THAT(offered(Slot::first), ElementsAre("builtin", "hdmi", "bluetooth", "usb"));
    EXPECT_THAT(offered(Slot::second), ElementsAre("builtin", "hdmi", "bluetooth"));
    menuBar().choose(Slot::second, "usb");
    EXPECT_FALSE(menuBar().canPlay()) << "the same twice";
    menuBar().choose(Slot::second, "hdmi");
    EXPECT_TRUE(menuBar().isPrimaryActionEnabled());
    EXPECT_EQ(menuBar().selectionHint(), std::nullopt);
    EXPECT_THAT(menuBar().pickerEntry(Slot::second),
                Optional(OutputRow{"hdmi", "Display", "Display", "display", "HDMI", "display", true}));
}

TEST_F(MenuBarTests, KeepsAVanishedChoiceInView) {
    choose("usb", "hdmi");
    world.rename("usb", "Desk");
    unplug("usb");
    EXPECT_THAT(offered(Slot::first), ElementsAre("usb gone", "builtin", "bluetooth"));
    EXPECT_THAT(menuBar().pickerEntry(Slot::first), Optional(Field(&OutputRow::badge, "Not connected")));
    EXPECT_TRUE(menuBar().canPlay()) << "it goes by the choices alone";
    EXPECT_FALSE(menuBar().isPrimaryActionEnabled());
    EXPECT_TRUE(menuBar().selectionHint().has_value());
    menuBar().performPrimaryAction();
    menuBar().play();
    run();
    EXPECT_EQ(menuBar().errorText(), std::nullopt) << "nothing was tried";
    replug("usb");
    EXPECT_TRUE(menuBar().isPrimaryActionEnabled());
    EXPECT_EQ(menuBar().pickerEntry(Slot::first)->name, "Desk");

    menuBar().choose(Slot::first, "never seen");
    EXPECT_EQ(menuBar().pickerEntry(Slot::first), std::nullopt);
    EXPECT_EQ(menuBar().placeholder(std::nullopt), std::nullopt);
}

TEST_F(MenuBarTests, SaysOnceThatSettingsCannotBeSavedAndPlaysAllTheSame) {
    defaults.failWrites("No space left on device");
    play("bluetooth", "builtin");
    const std::string sentence = "Velto cannot save its settings: No space left on device";
    EXPECT_THAT(menuBar().errorText(), Optional(sentence));
    EXPECT_TRUE(menuBar().recoveryText().has_value());
    world.calls.failNext(CoreAudioOperation::createAggregateDevice, kAudioHardwareUnspecifiedError);
    menuBar().stop();
    run();
    menuBar().play();
    run();
    EXPECT_NE(menuBar().errorText(), sentence) << "what was to be done comes first";
    menuBar().dismissError();
    EXPECT_THAT(menuBar().errorText(), Optional(sentence));
    menuBar().dismissError();
    play("bluetooth", "builtin");
    EXPECT_EQ(menuBar().errorText(), std::nullopt) << "told again with each write";

    defaults.failWrites(std::nullopt);
    desktop.wakeUp();
    loop.advance(2s);
    run();
    EXPECT_TRUE(defaults.onDisk().contains(UserDefaultsRecoveryStateStore::key));
    defaults.failWrites("Read-only file system");
    preferences().synchronize();
    EXPECT_THAT(menuBar().errorText(), Optional(testing::HasSubstr("Read-only")));
    menuBar().dismissError();
    defaults.failWrites(std::nullopt);
}

TEST_F(MenuBarTests, PutsRememberedOutputsBackIntoEmptyAndVanishedSlotsOnly) {
    play("bluetooth", "usb");
    menuBar().stop();
    run();
    choose("hdmi", "usb");
    unplug("usb");
    EXPECT_THAT(chosen(), ElementsAre("hdmi", "usb"));
    menuBar().choose(Slot::second, std::nullopt);
    replug("usb");
    EXPECT_THAT(chosen(), ElementsAre("hdmi", "usb")) << "a choice that is there stays";
    unplug("hdmi");
    EXPECT_THAT(chosen(), ElementsAre("bluetooth", "usb"));

    preferences().rememberSelectedDevices.set(false);
    menuBar().choose(Slot::first, std::nullopt);
    replug("hdmi");
    EXPECT_THAT(chosen(), ElementsAre("-", "usb"));
}

TEST_F(MenuBarTests, NeverPutsOneOutputIntoBothSlots) {
    play("bluetooth", "usb"); // is remembered
    menuBar().stop();
    run();
    const std::vector<std::string> all{"builtin", "hdmi", "bluetooth", "usb"};
    for (const auto& first : all) {
        for (const auto& second : all) {
            if (first == second) continue;
            for (const auto& lost : {first, second}) {
                choose(first, second);
                unplug(lost);
                EXPECT_NE(chosen().front(), chosen().back()) << first << " + " << second << " lost " << lost;
                replug(lost);
                EXPECT_NE(chosen().front(), chosen().back()) << first << " + " << second << " lost " << lost;
            }
        }
    }
}

TEST_F(MenuBarTests, TellsApartWhatIsCalledAlike) {
    for (const char* uid : {"b", "a", "c"})
        world.plug({.uid = uid, .name = "USB Headset Adapter", .transport = kAudioDeviceTransportTypeUSB});
    world.plug({.uid = "d", .name = "USB Headset Adapter", .transport = kAudioDeviceTransportTypeBluetooth});
    const std::string chip = "Family 17h/19h HD Audio Controller ";
    for (const char* end : {"Analog Stereo", "Digital Stereo"})
        world.plug({.uid = end, .name = chip + end, .transport = kAudioDeviceTransportTypePCI});
    run();
    const auto read = [&] {
        std::map<std::string, std::string> texts;
        for (const OutputRow& row : menuBar().pickerRows(Slot::first))
            texts[row.uid] = row.shortName + ", " + row.badge;
        return texts;
    };
    const std::map<std::string, std::string> expected{
        {"a", "USB Headset Adapter, USB · 1"},
        {"b", "USB Headset Adapter, USB · 2"},
        {"c", "USB Headset Adapter, USB · 3"},
        {"d", "USB Headset Adapter, Bluetooth"},
        {"Analog Stereo", "Family 17h/19h… Analog Stereo, PCI"},
        {"Digital Stereo", "Family 17h/19h… Digital Stereo, PCI"},
        {"usb", "USB DAC, USB"}};
    EXPECT_THAT(read(), testing::IsSupersetOf(expected));
    play("a", "Analog Stereo");
    unplug("a");
    unplug("Digital Stereo");
    EXPECT_EQ(read().at("b"), "USB Headset Adapter, USB · 2") << "the lost one keeps its number";
    EXPECT_EQ(menuBar().outputCards().at(0).output.badge, "Not connected · 1");
    EXPECT_EQ(menuBar().pickerEntry(Slot::second)->shortName, chip + "Analog Stereo") << "the only one";
}

// Playing

TEST_F(MenuBarTests, SwitchesARunningSessionToOtherOutputs) {
    play("bluetooth", "builtin");
    menuBar().choose(Slot::first, "hdmi"); // left over from before
    menuBar().setIsChoosingOutputs(true);
    EXPECT_TRUE(menuBar().showsPickers());
    EXPECT_THAT(chosen(), ElementsAre("bluetooth", "builtin")) << "the pickers open with what plays";
    EXPECT_FALSE(menuBar().canSwitchOutputs());
    choose("builtin", "bluetooth");
    EXPECT_FALSE(menuBar().canSwitchOutputs()) << "the same two";
    choose("hdmi", "hdmi");
    menuBar().play();
    run();
    EXPECT_THAT(cards(), ElementsAre("bluetooth", "builtin")) << "nothing ends for a pair that can't play";
    choose("builtin", "hdmi");
    EXPECT_TRUE(menuBar().canSwitchOutputs());
    EXPECT_EQ(menuBar().primaryActionTitle(), "Play Together") << "the one button";
    menuBar().performPrimaryAction();
    run();
    EXPECT_EQ(menuBar().primaryActionTitle(), "Stop");
    EXPECT_THAT(cards(), ElementsAre("builtin", "hdmi"));
    EXPECT_FALSE(menuBar().isChoosingOutputs());
}

// Volume

TEST_F(MenuBarTests, KeepsThePresetsSettingsOfALostOutput) {
    play("bluetooth", "builtin");
    const UUID id = save("Evening");
    menuBar().setVolume(0.25F, "bluetooth");
    unplug("bluetooth");
    menuBar().setVolume(0.5F, "builtin");
    menuBar().setMasterVolume(0.75F);
    menuBar().toggleMute("builtin");
    EXPECT_FLOAT_EQ(volumeOf("builtin"), 0.75F);
    EXPECT_THAT(preferences().preset(id)->deviceSettings.at("bluetooth").volume, Optional(0.25F));
    EXPECT_FALSE(menuBar().outputCards().at(0).hasVolume);
}

// Sync

TEST_F(MenuBarTests, SumsUpTheCorrectionsOfWhatPlays) {
    const auto saveProfile = [&](std::map<std::string, double> corrections) {
        state().syncProfiles().save(SyncProfile({"builtin", "bluetooth"}, "builtin", std::move(corrections),
                                                SyncProfile::Kind::manual, {}));
    };
    saveProfile({{"builtin", 0}, {"bluetooth", 12.4}, {"unplugged", -20.6}});
    EXPECT_EQ(menuBar().syncSummary(), std::nullopt) << "nothing plays";
    play("bluetooth", "builtin");
    EXPECT_EQ(menuBar().syncSummary(), "21 ms estimated");
    unplug("bluetooth");
    EXPECT_EQ(menuBar().syncSummary(), "21 ms estimated");
    saveProfile({{"bluetooth", -0.4}});
    EXPECT_EQ(menuBar().syncSummary(), "0 ms estimated");
    saveProfile({{"bluetooth", 0}});
    EXPECT_EQ(menuBar().syncSummary(), std::nullopt);
}

// Saving

TEST_F(MenuBarTests, SavesUnderANameThatSaysSomething) {
    play("bluetooth", "builtin");
    menuBar().setIsShowingPresetEditor(true);
    for (const char* name : {"", " \n\t", "Last Used", "  Last Used\n"}) {
        menuBar().setNewPresetName(name);
        EXPECT_FALSE(menuBar().canSaveCurrentAsPreset()) << name;
        EXPECT_EQ(menuBar().newPresetNameProblem().has_value(), std::string(name).contains("Last")) << name;
        menuBar().saveCurrentAsPreset();
        EXPECT_THAT(presetNames(), IsEmpty());
    }
    EXPECT_EQ(coordinator().saveCurrentSessionAsPreset("Last Used"), std::nullopt);
    menuBar().setNewPresetName("last used");
    EXPECT_TRUE(menuBar().canSaveCurrentAsPreset());
    menuBar().stop();
    run();
    EXPECT_EQ(menuBar().newPresetName(), "") << "it was meant for what played";
    EXPECT_FALSE(menuBar().isShowingPresetEditor());
    menuBar().setNewPresetName("Nothing plays");
    menuBar().saveCurrentAsPreset();
    EXPECT_THAT(presetNames(), IsEmpty());
}

// Observation

TEST_F(MenuBarTests, TellsOfChangesOnceATurnAndOfNothingElse) {
    int changes = 0;
    auto subscription = menuBar().observe([&] { ++changes; });
    const auto turns = loop.turnCount();
    loop.advance(24h);
    EXPECT_EQ(loop.turnCount(), turns) << "nothing runs while nothing changes";
    const auto expectChange = [&](std::string_view what, const std::function<void()>& change) {
        changes = 0;
        change();
        EXPECT_EQ(changes, 0) << what;
        loop.runReady();
        EXPECT_EQ(changes, 1) << what;
    };
    expectChange("own fields", [&] {
        choose("bluetooth", "builtin");
        menuBar().setNewPresetName("Evening");
        menuBar().setIsShowingPresetEditor(true);
        menuBar().setIsChoosingOutputs(true);
    });
    expectChange("a preference", [&] { preferences().rememberSelectedDevices.set(false); });
    menuBar().play();
    run();
    expectChange("a volume", [&] {
        menuBar().setMasterVolume(0.5F);
        menuBar().toggleMute("builtin");
    });
    expectChange("a sync profile", [&] {
        state().syncProfiles().save(SyncProfile({"builtin", "bluetooth"}, "builtin", {{"builtin", 3}},
                                                SyncProfile::Kind::manual, {}));
    });
    changes = 0;
    world.setVolume("bluetooth", 0.125F);
    run();
    EXPECT_EQ(changes, 1) << "somebody else's volume";
    changes = 0;
    unplug("hdmi");
    EXPECT_EQ(changes, 1) << "the devices";
    EXPECT_EQ(menuBar().selectableDevices().size(), 3U);
    expectChange("the audio service", [&] { world.stopAudioService(); });
    EXPECT_THAT(menuBar().needsMoreOutputsText().value_or(""), StartsWith("No sound server is running."));
    world.startAudioService();
    run();
    world.hangAudioService();
    menuBar().setVolume(0.5F, "bluetooth"); // which shows it
    EXPECT_THAT(menuBar().needsMoreOutputsText().value_or(""),
                StartsWith("The sound server does not answer."));
    world.resumeAudioService();
    run();
    EXPECT_EQ(menuBar().needsMoreOutputsText(), std::nullopt);

    subscription.reset();
    const auto before = loop.turnCount();
    menuBar().setNewPresetName("Unseen");
    run();
    EXPECT_EQ(loop.turnCount(), before) << "nobody looks";
}

} // namespace
} // namespace velto
