// Where texts name something of the platform, each platform is given its own words.
#include "Platform/Linux/LinuxWords.h"
#include "Platform/macOS/MacWords.h"
#include "Tests/Shell/ShellTest.h"

#include <algorithm>
#include <map>

namespace velto {
namespace {

/// Where a text is read, and the text; empty where the platform has none.
using Texts = std::map<std::string, std::string>;

const Texts onMac{
    {"welcome", "Velto lives in the menu bar. Click its icon whenever you want to play together."},
    {"showInDock", "Show Velto in the Dock"},
    {"launchAtLogin", "Available when Velto runs from an app bundle."},
    {"clockStrategy", "The Mac's built-in output drives the clock whenever it is part of the group."},
    {"error", "Could not restore the previous system output. Core Audio reported an error: Unspecified audio "
              "hardware error"},
    {"status", "Could not restore the previous system output. Core Audio reported an error: Unspecified "
               "audio hardware error"},
    {"advice", "You can pick an output manually in System Settings > Sound."},
    {"report", "macOS: Version 15.2"},
    {"log of sleep", "Lifecycle notice: Mac is going to sleep"},
    {"log of wake", "Lifecycle notice: Mac woke from sleep"},
};

const Texts onLinux{
    {"welcome", "Velto lives in the system tray. Click its icon whenever you want to play together."},
    {"showInDock", ""},
    {"launchAtLogin", "Available once Velto is installed."},
    {"clockStrategy", "The computer's built-in output drives the clock whenever it is part of the group."},
    {"error", "Could not restore the previous system output. PipeWire reported an error: Unspecified audio "
              "hardware error"},
    {"status", "Could not restore the previous system output. PipeWire reported an error: Unspecified audio "
               "hardware error"},
    {"advice", "You can pick an output manually in Sound settings."},
    {"report", "Operating System: Version 15.2"},
    {"log of sleep", "Lifecycle notice: The computer is going to sleep"},
    {"log of wake", "Lifecycle notice: The computer woke from sleep"},
};

class PlatformWordsTests : public ShellTest {
  protected:
    SettingRow row(std::string_view key) {
        for (SettingRow& row : settings().list().rows())
            if (row.key == key) return std::move(row);
        return {};
    }
    /// All that is read, by what was expected there.
    Texts read(const Texts& expected) {
        desktop.systemVersion = "Version 15.2";
        loginItems.isInstalled = false;
        launch();
        settings().list().set("clockStrategy", std::string("builtInPreferred"));
        play("bluetooth", "builtin");
        world.calls.failNext(CoreAudioOperation::setDefaultOutputDevice, kAudioHardwareUnspecifiedError);
        menuBar().stop();
        run();
        desktop.fallAsleep();
        desktop.wakeUp();
        run();
        Texts texts{{"welcome", OnboardingWindowController::message(desktop.words())},
                    {"showInDock", row("showInDock").label},
                    {"launchAtLogin", row("launchAtLogin").help},
                    {"clockStrategy", row("clockStrategy").help},
                    {"error", menuBar().errorText().value_or("")},
                    {"status", menuBar().statusTitle()},
                    {"advice", menuBar().recoveryText().value_or("")}};
        for (const auto* entry : {"log of sleep", "log of wake"})
            texts[entry] = log.contains(expected.at(entry)) ? expected.at(entry) : "";
        const std::string report = settings().report().text();
        texts["report"] = report.find("\n" + expected.at("report") + "\n") != std::string::npos
                              ? expected.at("report")
                              : report;
        return texts;
    }
};

TEST_F(PlatformWordsTests, AMacsTextsNameWhatAMacHas) { EXPECT_EQ(read(onMac), onMac); }

TEST_F(PlatformWordsTests, OnLinuxNothingIsSaidThatOnlyAMacHas) {
    desktop.platformWords = linuxWords();
    EXPECT_EQ(read(onLinux), onLinux);
    EXPECT_FALSE(settings().list().set("showInDock", true)) << "there is no such setting";
}

TEST(PlatformWords, ListTheLicencesOfWhatEachComesWith) {
    const auto isListed = [](const PlatformWords& words, std::string_view name) {
        return std::ranges::find(words.licences, name, &PlatformWords::Licence::name) != words.licences.end();
    };
    for (const PlatformWords* words : {&linuxWords(), &macWords()})
        for (const auto* name : {"Velto", "Qt 6", "{fmt}", "CLI11", "Eigen", "Material Symbols"})
            EXPECT_TRUE(isListed(*words, name)) << name;
    for (const auto* name : {"PipeWire", "ICU", "libsystemd", "libxcb"})
        EXPECT_TRUE(isListed(linuxWords(), name) && !isListed(macWords(), name)) << name;
}

} // namespace
} // namespace velto
