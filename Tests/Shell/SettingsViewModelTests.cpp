// What the settings window shows and does.
#include "Tests/Shell/ShellTest.h"

#include <algorithm>
#include <limits>

namespace velto {
namespace {

using namespace std::string_literals;
using testing::ElementsAre;

class SettingsTests : public ShellTest {
  protected:
    SettingsTests() { launch(); }

    std::string value(std::string_view title) {
        for (const DebugRow& row : settings().report().rows())
            if (row.title == title) return row.value;
        return "no such row";
    }
    SettingRow row(std::string_view key) {
        const auto rows = list().rows();
        return *std::ranges::find(rows, key, &SettingRow::key);
    }
    bool launchAtLogin() { return asBool(row("launchAtLogin").value); }
    SettingsList& list() { return settings().list(); }
};

// Debug report

TEST_F(SettingsTests, ReportsARunningSession) {
    desktop.systemVersion = "Version 15.2";
    preferences().clockStrategy.set(ClockStrategy::firstSelected);
    play("bluetooth", "hdmi");
    settings().copyDebugInfo();
    const auto id = [this](std::string_view uid) { return std::to_string(world.objectID(uid)); };
    EXPECT_EQ(desktop.pasteboardText, R"(Velto Debug Information
Velto Version: 1.0 (100)
macOS: Version 15.2
Status: playing together
Sync Engine: System Multi-Output
Current Default Output: Velto Output [com.corlent.velto.aggregate]
Aggregate Device UID: com.corlent.velto.aggregate
Aggregate Device ID: )" + id(AggregateDeviceManager::aggregateUID) +
                                          R"(
Group Sample Rate: 48000 Hz
Clock Master: bluetooth
Clock Strategy: First selected output
Preferred Sample Rate: Automatic
Disconnect Behavior: Keep playing on remaining outputs
Headphones — UID: bluetooth
Headphones — Device ID: )" + id("bluetooth") +
                                          R"(
Headphones — Transport: Bluetooth
Headphones — Manufacturer: unknown
Headphones — Sample Rate: 48000 Hz
Headphones — Latency: 7200 frames
Headphones — Safety Offset: not reported
Headphones — Volume Control: yes
Display — UID: hdmi
Display — Device ID: )" + id("hdmi") + R"(
Display — Transport: HDMI
Display — Manufacturer: unknown
Display — Sample Rate: 48000 Hz
Display — Latency: not reported
Display — Safety Offset: not reported
Display — Volume Control: no)");
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
    EXPECT_EQ(settings().report().rows().back().title, "Disconnect Behavior");
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
    EXPECT_EQ(settings().report().rows().back(), (DebugRow{"Last Error", error}));
}

TEST_F(SettingsTests, ReportsAnyRateThatADeviceMayHave) {
    auto device = AudioOutputDevice::disconnected("odd", "Odd", AudioTransportType::Kind::usb);
    const auto rate = [&](double rate) {
        device.sampleRate = rate;
        return DebugReport::rows(device).at(4).value;
    };
    EXPECT_EQ(rate(48000.9), "48000 Hz");
    EXPECT_EQ(rate(0), "0 Hz");
    EXPECT_EQ(rate(1e300), "—");
    EXPECT_EQ(rate(std::numeric_limits<double>::quiet_NaN()), "—");
}

// Preferences

TEST_F(SettingsTests, ShowsInTheDockAtOnce) {
    desktop.policies.clear();
    list().set("showInDock", true);
    list().set("showInDock", false);
    EXPECT_THAT(desktop.policies, ElementsAre(Policy::regular, Policy::accessory));
    EXPECT_FALSE(preferences().showInDock());
}

TEST_F(SettingsTests, ATextIsReadByTheKindOfItsSetting) {
    for (const SettingRow& row : list().rows()) {
        EXPECT_EQ(row.parsed(row.text()), row.value) << row.key;
        const bool isText = row.kind == SettingRow::Kind::text;
        for (const char* text : {"nonsense", "1.5", "101%", "-0", "true", "nan"})
            EXPECT_EQ(row.parsed(text).has_value(), isText) << row.key << ' ' << text;
    }
    EXPECT_EQ(row("syncTestVolume").parsed("25%"), DefaultsValue(0.25));
    EXPECT_EQ(row("preferredSampleRate").parsed("48 kHz"), DefaultsValue(48000.0));
    EXPECT_EQ(row("clockStrategy").parsed("x").error(),
              "“Clock” takes: automatic, firstSelected, builtInPreferred, lowestLatency.");
    EXPECT_FALSE(list().set("clockStrategy", "x"s) || list().set("no such setting", true));
}

TEST_F(SettingsTests, OffersTheReferenceOutputAlsoWhenItIsGone) {
    list().set("defaultReferenceDeviceUID", "bluetooth"s);
    EXPECT_EQ(row("defaultReferenceDeviceUID").choices.size(), 5U) << "none, and the four";
    play("bluetooth", "builtin"); // from now on a preset knows its name
    unplug("bluetooth");
    EXPECT_EQ(row("defaultReferenceDeviceUID").choices.back(), (SettingChoice{"bluetooth"s, "Headphones"}));
    list().set("defaultReferenceDeviceUID", ""s);
    EXPECT_EQ(preferences().defaultReferenceDeviceUID(), std::nullopt);
    EXPECT_EQ(row("defaultReferenceDeviceUID").choices.size(), 4U);
}

TEST_F(SettingsTests, SaysWhatKeepsTheLoginItemFromWorking) {
    EXPECT_EQ(row("launchAtLogin").help, "");
    loginItems.wantsApproval = true;
    list().set("launchAtLogin", true);
    EXPECT_TRUE(log.contains("Lifecycle notice: Registered as login item"));
    EXPECT_FALSE(launchAtLogin());
    EXPECT_EQ(row("launchAtLogin").help, "Approve Velto in System Settings > General > Login Items.");
    EXPECT_EQ(row("launchAtLogin").action, "Open Login Items");
    loginItems.current = LoginItemService::Status::enabled; // the user has approved
    settings().refreshLaunchAtLogin();
    EXPECT_TRUE(launchAtLogin());
    EXPECT_EQ(row("launchAtLogin").action, "");
    loginItems.failNextChange("No space left on device");
    list().set("launchAtLogin", false);
    EXPECT_TRUE(launchAtLogin());
    EXPECT_EQ(row("launchAtLogin").help, "No space left on device");
    EXPECT_TRUE(log.contains("Lifecycle error: Launch at login change failed: No space left on device"));
    list().set("launchAtLogin", false);
    EXPECT_FALSE(launchAtLogin() || !row("launchAtLogin").help.empty());
    EXPECT_TRUE(log.contains("Lifecycle notice: Unregistered login item"));
    loginItems.isInstalled = false;
    EXPECT_EQ(row("launchAtLogin").help, "Available when Velto runs from an app bundle.");
}

} // namespace
} // namespace velto
