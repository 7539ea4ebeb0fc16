// The whole story as somebody hears and tells it who sees nothing.
#include "Tests/Desktop/BlindUser.h"
#include "Tests/Desktop/DesktopTest.h"
#include "Tests/UI/VirtualScreen.h"
#include "Tools/SoundLab/ChildProcess.h"
#include "Tools/SoundLab/OwnedFolder.h"

#include "Velto/Linux/X11Desktop.h"

#include <gmock/gmock.h>

#include <signal.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <fstream>
#include <iostream>
#include <span>
#include <stdexcept>
#include <string_view>
#include <tuple>

namespace velto {
namespace {

using enum SpokenRole;

constexpr std::chrono::seconds patience{60};

const QString welcome = QStringLiteral("Welcome to Velto");
const QString panel = QStringLiteral("Velto");
const QString settings = QStringLiteral("Velto Settings");
const QString bench = QStringLiteral("Velto Device Bench");

/// Keys pressed on one of a screen's windows, brought to the front for it.
class Keyboard {
  public:
    explicit Keyboard(const VirtualScreen& screen)
        : connection_(xcb_connect(screen.display().c_str(), nullptr)),
          root_(xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root) {}
    Keyboard(const Keyboard&) = delete;
    Keyboard& operator=(const Keyboard&) = delete;
    ~Keyboard() { xcb_disconnect(connection_); }

    void press(const QString& window, xcb_keysym_t key) {
        xcb_key_press_event_t event{};
        event.detail = code(key);
        event.root = root_;
        event.event = find(window.toStdString());
        event.same_screen = 1;
        xcb_set_input_focus(connection_, XCB_INPUT_FOCUS_PARENT, event.event, XCB_CURRENT_TIME);
        for (const std::uint8_t type : {XCB_KEY_PRESS, XCB_KEY_RELEASE}) {
            event.response_type = type;
            xcb_send_event(connection_, 0, event.event, XCB_EVENT_MASK_NO_EVENT,
                           reinterpret_cast<const char*>(&event));
        }
        xcb_flush(connection_);
    }

  private:
    xcb_window_t find(std::string_view title) const {
        const X11Reply<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(connection_, xcb_query_tree(connection_, root_), nullptr));
        for (const xcb_window_t window : std::span(xcb_query_tree_children(tree.get()), tree->children_len)) {
            const X11Reply<xcb_get_property_reply_t> name(xcb_get_property_reply(
                connection_, xcb_get_property(connection_, 0, window, XCB_ATOM_WM_NAME, XCB_ATOM_ANY, 0, 100),
                nullptr));
            if (name &&
                title == std::string_view(static_cast<const char*>(xcb_get_property_value(name.get())),
                                          name->value_len))
                return window;
        }
        throw std::runtime_error("There is no window " + std::string(title));
    }
    std::uint8_t code(xcb_keysym_t key) const {
        const xcb_setup_t& setup = *xcb_get_setup(connection_);
        const int count = setup.max_keycode - setup.min_keycode + 1;
        const X11Reply<xcb_get_keyboard_mapping_reply_t> map(xcb_get_keyboard_mapping_reply(
            connection_,
            xcb_get_keyboard_mapping(connection_, setup.min_keycode, static_cast<std::uint8_t>(count)),
            nullptr));
        const std::span keys(xcb_get_keyboard_mapping_keysyms(map.get()),
                             static_cast<std::size_t>(count) * map->keysyms_per_keycode);
        const auto place = std::ranges::find(keys, key) - keys.begin();
        return static_cast<std::uint8_t>(setup.min_keycode + place / map->keysyms_per_keycode);
    }

    xcb_connection_t* connection_;
    xcb_window_t root_;
};

constexpr xcb_keysym_t letterE = 0x65, returnKey = 0xff0d, escape = 0xff1b, down = 0xff54, deleteKey = 0xffff;

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
    Keyboard keyboard{screen};
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
    for (const auto& [key, role, name] :
         {std::tuple{returnKey, listItem, "Built-in Speakers"}, // the first, where none was chosen
          {down, listItem, "AirPods Pro"},
          {escape, comboBox, "First output"}}) {
        keyboard.press(panel, key);
        user.waitUntilAt(role, name);
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

    user.act(user.find(panel, checkBox, "Save current setup"), "Press");
    user.waitUntilAt(textField, "Name of this setup");
    keyboard.press(panel, letterE);
    keyboard.press(panel, returnKey);
    const auto setup = user.find(panel, listItem, "e");
    EXPECT_TRUE(setup.description.contains("Playing")) << setup.description.toStdString();
    user.act(setup, "SetFocus");
    user.waitUntilAt(listItem, "e");
    keyboard.press(panel, deleteKey);
    user.hear("Deleted “e”");

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
