// What the settings window shows and does.
#include "Tests/Shell/ShellTest.h"
#include "Velto/Shell/SettingsTexts.h"

#include <limits>

namespace velto {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
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

// Preferences

TEST_F(SettingsTests, ShowsInTheDockAtOnce) {
    desktop.policies.clear();
    settings().setShowInDock(true);
    settings().setShowInDock(false);
    EXPECT_THAT(desktop.policies, ElementsAre(Policy::regular, Policy::accessory));
    EXPECT_FALSE(preferences().showInDock());
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
    settings().setLaunchAtLoginEnabled(false);
    EXPECT_FALSE(settings().launchAtLoginEnabled() || settings().launchAtLoginNote());
    loginItems.isInstalled = false;
    EXPECT_EQ(settings().launchAtLoginNote(), "Available when Velto runs from an app bundle.");
}

} // namespace
} // namespace velto
