// What the settings window shows and does.
#include "Platform/Linux/LinuxWords.h"
#include "Tests/Shell/ShellTest.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>

namespace velto {
namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

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

/// The report of a session. What differs: the lines about the system, and how an output and its UID are told.
struct ReportedSession {
    std::string system;
    std::string first, firstUID, second, secondUID;
};

std::string report(const ReportedSession& told, std::string_view aggregate, std::string_view firstID,
                   std::string_view secondID) {
    return fmt::format(R"(Velto Debug Information
Velto Version: 1.0 (100)
{system}
Status: playing together
Sync Engine: System Multi-Output
Current Default Output: Velto Output [com.corlent.velto.aggregate]
Aggregate Device UID: com.corlent.velto.aggregate
Aggregate Device ID: {aggregate}
Group Sample Rate: 48000 Hz
Clock Master: {firstUID}
Clock Strategy: First selected output
Preferred Sample Rate: Automatic
Disconnect Behavior: Keep playing on remaining outputs
{first} — UID: {firstUID}
{first} — Device ID: {firstID}
{first} — Transport: Bluetooth
{first} — Manufacturer: unknown
{first} — Sample Rate: 48000 Hz
{first} — Latency: 7200 frames
{first} — Safety Offset: not reported
{first} — Volume Control: yes
{second} — UID: {secondUID}
{second} — Device ID: {secondID}
{second} — Transport: HDMI
{second} — Manufacturer: unknown
{second} — Sample Rate: 48000 Hz
{second} — Latency: not reported
{second} — Safety Offset: not reported
{second} — Volume Control: no)",
                       fmt::arg("system", told.system), fmt::arg("aggregate", aggregate),
                       fmt::arg("first", told.first), fmt::arg("firstUID", told.firstUID),
                       fmt::arg("firstID", firstID), fmt::arg("second", told.second),
                       fmt::arg("secondUID", told.secondUID), fmt::arg("secondID", secondID));
}

TEST_F(SettingsTests, ReportsARunningSession) {
    const std::string onMac = "macOS: Version 15.2";
    const std::string onLinux = "Operating System: Version 15.2\nPipeWire: 0.3.65\nDesktop: sway";
    desktop.systemVersion = "Version 15.2";
    preferences().clockStrategy.set(ClockStrategy::firstSelected);
    play("bluetooth", "hdmi");
    const auto expected = [this](const ReportedSession& told) {
        const auto id = [this](std::string_view uid) { return std::to_string(world.objectID(uid)); };
        return report(told, id(AggregateDeviceManager::aggregateUID), id("bluetooth"), id("hdmi"));
    };
    settings().copyDebugInfo();
    EXPECT_EQ(desktop.pasteboardText, expected({onMac, "Headphones", "bluetooth", "Display", "hdmi"}));
    EXPECT_TRUE(settings().didCopyDebugInfo());
    EXPECT_TRUE(log.contains("UI info: Copied debug information"));

    desktop.platformWords = linuxWords();
    desktop.details = {{"PipeWire", "0.3.65"}, {"Desktop", "sway"}};
    settings().copyDebugInfo();
    EXPECT_EQ(desktop.pasteboardText, expected({onLinux, "Headphones", "bluetooth", "Display", "hdmi"}));
    const std::string headphones = "7653", display = "c2bc"; // the same wherever they are reported
    settings().copyRedactedDebugInfo();
    EXPECT_EQ(desktop.pasteboardText, expected({onLinux, "Output " + headphones, "uid-" + headphones,
                                                "Output " + display, "uid-" + display}));

    unplug("hdmi");
    EXPECT_EQ(value("Status"), "degraded (Display missing)");
    EXPECT_EQ(value("Display — UID"), "hdmi");
    const UUID desk = save("Desk");
    menuBar().stop();
    run();
    presets().activate(desk);
    run();
    const std::string redacted = settings().report().redactedText();
    EXPECT_THAT(redacted, HasSubstr("Last Error: Output " + display + " could not be found."));
    for (const auto* name : {"Display", "Headphones", "[usb]", "DAC"})
        EXPECT_THAT(redacted, Not(HasSubstr(name)));
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
