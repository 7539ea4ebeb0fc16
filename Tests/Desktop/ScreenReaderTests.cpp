// The whole story as somebody hears and tells it who sees nothing.
#include "Tests/Desktop/BlindUser.h"
#include "Tests/Desktop/DesktopTest.h"
#include "Tests/UI/VirtualScreen.h"
#include "Tools/SoundLab/ChildProcess.h"
#include "Tools/SoundLab/OwnedFolder.h"

#include <gmock/gmock.h>

#include <signal.h>

#include <chrono>
#include <cmath>
#include <fstream>
#include <iostream>

namespace velto {
namespace {

using enum SpokenRole;

constexpr std::chrono::seconds patience{60};

const QString welcome = QStringLiteral("Welcome to Velto");
const QString panel = QStringLiteral("Velto");
const QString settings = QStringLiteral("Velto Settings");
const QString bench = QStringLiteral("Velto Device Bench");

class ScreenReaderTests : public testing::Test {
  protected:
    ~ScreenReaderTests() override {
        if (HasFailure()) std::cerr << std::ifstream(log).rdbuf();
    }
    void press(const QString& window, SpokenRole role, const QString& name) {
        user.act(user.find(window, role, name));
    }
    void choose(const QString& window, const QString& box, const QString& row) {
        press(window, comboBox, box);
        user.find(window, list, box);
        press(window, listItem, row);
        user.waitUntilGone(window, list, box);
        EXPECT_TRUE(user.find(window, comboBox, box).description.startsWith(row));
    }

    const OwnedFolder folder{"velto-reader"};
    const std::string log = folder.path() / "velto.log";
    VirtualScreen screen;
    BlindUser user;
    ChildProcess velto{{VELTO_SIMULATOR},
                       {.environment = {{"DISPLAY", screen.display()},
                                        {"QT_QPA_PLATFORM", "xcb"},
                                        {"DBUS_SYSTEM_BUS_ADDRESS", "disabled:"},
                                        {"ASAN_OPTIONS", "detect_leaks=0"}}, // as libraries of a display do
                        .logFile = log}};
};

TEST_F(ScreenReaderTests, TheWholeStoryIsToldAndDoneByEar) {
    user.find(welcome, heading, "Welcome to Velto");
    press(welcome, button, "Continue");
    EXPECT_FALSE(user.find(panel, button, "Play Together").isEnabled());
    user.find(panel, label, "Choose two outputs to play together.");
    for (const char* box : {"Second output", "First output"}) {
        user.act(user.find(panel, comboBox, box), "SetFocus");
        user.waitUntilAt(comboBox, box);
    }
    choose(panel, "First output", "AirPods Pro");
    choose(panel, "Second output", "JBL Flip 6");
    press(panel, button, "Play Together");
    user.hear("Playing Together");

    const auto volume = user.find(panel, slider, "Volume of AirPods Pro");
    EXPECT_EQ(user.range(volume).minimum, 0);
    EXPECT_EQ(user.range(volume).maximum, 1);
    const auto heardVolume = [&] {
        return user.range(user.find(bench, slider, "Bench volume of AirPods Pro")).value;
    };
    user.setValue(volume, 0.25);
    EXPECT_TRUE(runUntil([&] { return std::abs(heardVolume() - 0.25) < 0.001; }, patience)) << heardVolume();
    user.act(volume, "Increase");
    EXPECT_TRUE(runUntil([&] { return std::abs(heardVolume() - 0.3) < 0.001; }, patience)) << heardVolume();
    user.act(user.find(panel, checkBox, "Mute AirPods Pro"), "Toggle");
    EXPECT_TRUE(user.find(panel, checkBox, "Unmute AirPods Pro").isChecked());

    press(panel, button, "Settings");
    user.find(settings, heading, "Automation");
    choose(settings, "When an output disconnects", "Ask me");
    press(settings, pageTab, "Audio");
    user.find(settings, heading, "Combined output");
    EXPECT_TRUE(user.find(settings, pageTab, "Audio").isSelected());

    press(bench, button, "Unplug JBL Flip 6");
    const QString asked = user.hear("Keep playing on the remaining output, or stop playing together?");
    EXPECT_TRUE(asked.contains("JBL Flip 6 disconnected")) << asked.toStdString();
    press(panel, button, "Keep playing on remaining outputs");
    press(bench, button, "Plug JBL Flip 6");
    user.hear("Playing Together");
    press(panel, button, "Stop");
    user.hear("Not playing");
    press(bench, button, "Fail Next Start");
    press(panel, button, "Play Together");
    user.hear("Could not create the multi-output device.");

    velto.signal(SIGTERM);
    EXPECT_EQ(velto.wait(patience), 0);
}

} // namespace
} // namespace velto
