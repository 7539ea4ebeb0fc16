// What the settings window shows and does.
#include "Tests/Shell/ShellTest.h"
#include "Velto/Shell/SettingsTexts.h"

#include <chrono>
#include <limits>

namespace velto {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class SettingsTests : public ShellTest {
  protected:
    SettingsTests() { launch(); }

    std::string value(std::string_view title) {
        for (const DebugRow& row : settings().debugRows())
            if (row.title == title) return row.value;
        return "no such row";
    }
};

// Debug report

TEST_F(SettingsTests, ReportsARunningSession) {
    desktop.systemVersion = "Version 15.2";
    preferences().setClockStrategy(ClockStrategy::firstSelected);
    play("bluetooth", "hdmi");
    settings().copyDebugInfo();
    EXPECT_THAT(desktop.pasteboardText,
                AllOf(StartsWith("Velto Debug Information\nVelto Version: 1.0 (100)\nmacOS: Version 15.2\n"
                                 "Status: playing together\nSync Engine: System Multi-Output\n"),
                      HasSubstr("\nClock Master: bluetooth\nClock Strategy: First selected output\n"),
                      HasSubstr("\nHeadphones — Latency: 7200 frames\n"),
                      HasSubstr("\nDisplay — Safety Offset: not reported\n")));
    EXPECT_EQ(value("Aggregate Device ID"),
              std::to_string(world.objectID(AggregateDeviceManager::aggregateUID)));
    EXPECT_TRUE(settings().didCopyDebugInfo());
    EXPECT_TRUE(log.contains("UI info: Copied debug information"));

    unplug("hdmi");
    EXPECT_EQ(value("Status"), "degraded (Display missing)");
    EXPECT_EQ(value("Display — UID"), "hdmi");
}

TEST_F(SettingsTests, ReportsWithoutASession) {
    EXPECT_EQ(value("Status"), "idle");
    EXPECT_EQ(value("Aggregate Device UID"), "com.corlent.velto.aggregate");
    for (const auto* title : {"Aggregate Device ID", "Group Sample Rate", "Clock Master"})
        EXPECT_EQ(value(title), "—");
    EXPECT_EQ(settings().debugRows().back().title, "Disconnect Behavior");
    EXPECT_EQ(value("Current Default Output"), "USB DAC [usb]");
    for (const auto* uid : {"usb", "hdmi", "bluetooth", "builtin"})
        unplug(uid);
    EXPECT_EQ(value("Current Default Output"), "unknown");
    for (const auto* uid : {"usb", "hdmi", "bluetooth", "builtin"})
        replug(uid);

    world.calls.failNext(CoreAudioOperation::createAggregateDevice, kAudioHardwareUnspecifiedError);
    choose("bluetooth", "builtin");
    menuBar().play();
    run();
    const std::string error = menuBar().errorText().value();
    EXPECT_EQ(value("Status"), "failed: " + error);
    EXPECT_EQ(settings().debugRows().back(), (DebugRow{"Last Error", error}));
}

TEST_F(SettingsTests, ReportsAnyRateThatADeviceMayHave) {
    auto device = AudioOutputDevice::disconnected("odd", "Odd", AudioTransportType::Kind::usb);
    const auto rate = [&](double rate) {
        device.sampleRate = rate;
        return SettingsViewModel::debugRows(device).at(4).value;
    };
    EXPECT_EQ(rate(48000.9), "48000 Hz");
    EXPECT_EQ(rate(0), "0 Hz");
    EXPECT_EQ(rate(1e300), "—");
    EXPECT_EQ(rate(std::numeric_limits<double>::quiet_NaN()), "—");
}

// Reset

TEST_F(SettingsTests, IsBusyWhileItResets) {
    play("bluetooth", "builtin");
    world.faults.lingersAfterDestroy = std::chrono::milliseconds(300);
    settings().beginReset();
    settings().beginReset(); // pressed twice
    loop.advance(std::chrono::milliseconds(100));
    EXPECT_TRUE(settings().isResetting());
    run();
    EXPECT_FALSE(settings().isResetting());
    EXPECT_FALSE(menuBar().isPlaying());
}

// Preferences

TEST_F(SettingsTests, ShowsInTheDockAtOnce) {
    desktop.policies.clear();
    settings().setShowInDock(true);
    settings().setShowInDock(false);
    EXPECT_THAT(desktop.policies, ElementsAre(Policy::regular, Policy::accessory));
    EXPECT_FALSE(preferences().showInDock());
}

TEST_F(SettingsTests, TakesTheChoicesThatItOffersAndNoOthers) {
    for (const SettingChoice& choice : SettingsViewModel::clockStrategyChoices())
        settings().setClockStrategy(choice.rawValue);
    for (const SettingChoice& choice : SettingsViewModel::disconnectBehaviorChoices())
        settings().setDisconnectBehavior(choice.rawValue);
    for (const SampleRateChoice& choice : SettingsViewModel::preferredSampleRateChoices())
        settings().setPreferredSampleRate(choice.rawValue);
    settings().setClockStrategy("quartz");
    settings().setDisconnectBehavior("");
    settings().setPreferredSampleRate(88200);
    EXPECT_EQ(settings().clockStrategy(), "lowestLatency") << "the last one offered";
    EXPECT_EQ(settings().disconnectBehavior(), "askUser");
    EXPECT_EQ(settings().preferredSampleRate(), 96000);
}

TEST_F(SettingsTests, OffersTheReferenceOutputAlsoWhenItIsGone) {
    settings().setDefaultReferenceDeviceUID("bluetooth");
    EXPECT_EQ(settings().referenceDeviceChoices().size(), 5U) << "none, and the four";
    play("bluetooth", "builtin"); // from now on a preset knows its name
    unplug("bluetooth");
    EXPECT_EQ(settings().referenceDeviceChoices().back(), (SettingChoice{"bluetooth", "Headphones"}));
    settings().setDefaultReferenceDeviceUID("");
    EXPECT_EQ(preferences().defaultReferenceDeviceUID(), std::nullopt);
    EXPECT_EQ(settings().referenceDeviceChoices().size(), 4U);
}

TEST_F(SettingsTests, SaysWhatKeepsTheLoginItemFromWorking) {
    EXPECT_EQ(settings().launchAtLoginNote(), std::nullopt);
    loginItems.wantsApproval = true;
    settings().setLaunchAtLoginEnabled(true);
    EXPECT_FALSE(settings().launchAtLoginEnabled());
    EXPECT_EQ(settings().launchAtLoginNote(), "Approve Velto in System Settings > General > Login Items.");
    EXPECT_TRUE(settings().offersLoginItemsSettings());
    loginItems.current = LoginItemService::Status::enabled; // the user has approved
    settings().refreshLaunchAtLogin();
    EXPECT_TRUE(settings().launchAtLoginEnabled());
    EXPECT_FALSE(settings().offersLoginItemsSettings());
    loginItems.failNextChange("No space left on device");
    settings().setLaunchAtLoginEnabled(false);
    EXPECT_TRUE(settings().launchAtLoginEnabled());
    EXPECT_EQ(settings().launchAtLoginNote(), "No space left on device");
    loginItems.isInstalled = false;
    EXPECT_EQ(settings().launchAtLoginNote(), "Available when Velto runs from an app bundle.");
}

// Sync

TEST_F(SettingsTests, ListsSyncProfilesAndRemovesOne) {
    auto& profiles = state().syncProfiles();
    profiles.save(SyncProfile({"usb", "builtin"}, "usb", {{"builtin", -20.6}, {"usb", 3}},
                              SyncProfile::Kind::measured, {}));
    SyncProfile odd({"hdmi", "gone"}, "hdmi", {}, SyncProfile::Kind::estimated, {});
    odd.id = "an older key";
    profiles.save(odd);
    EXPECT_THAT(settings().syncProfileRows(),
                ElementsAre(SyncProfileRow{"builtin|usb", "USB DAC + Built-in Speakers", "21 ms measured"},
                            SyncProfileRow{"an older key", "Display + gone", "0 ms estimated"}));
    settings().removeSyncProfile("an older key");
    settings().removeSyncProfile("nothing");
    EXPECT_EQ(profiles.profiles().size(), 1U);
    settings().removeSyncProfile("builtin|usb");
    EXPECT_THAT(settings().syncProfileRows(), IsEmpty());
}

TEST_F(SettingsTests, TellsOfAllThatItShows) {
    int changes = 0;
    const auto subscription = settings().observe([&] { ++changes; });
    const auto expectChange = [&](std::string_view what, const std::function<void()>& change) {
        changes = 0;
        change();
        loop.runReady();
        EXPECT_EQ(changes, 1) << what;
    };
    expectChange("a preference", [&] { preferences().setAutoReconnect(true); });
    expectChange("the login item", [&] { settings().setLaunchAtLoginEnabled(true); });
    expectChange("the sync test", [&] { settings().startSyncTest(); });
    expectChange("a sync profile", [&] {
        state().syncProfiles().save(SyncProfile({"usb", "hdmi"}, "usb", {}, SyncProfile::Kind::manual, {}));
    });
    expectChange("the default output", [&] { world.pickDefault("hdmi"); });
    expectChange("the copy", [&] { settings().copyDebugInfo(); });
    changes = 0;
    settings().beginReset();
    run();
    EXPECT_GT(changes, 0) << "the reset";
}

} // namespace
} // namespace velto
