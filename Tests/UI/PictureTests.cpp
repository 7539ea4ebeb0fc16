// Every state that the windows can be in, by name, in light and dark: a picture of it, and what must hold of
// it.
#include "Tests/UI/WindowTest.h"

#include <QDir>
#include <QSet>

#include <algorithm>
#include <cmath>

namespace velto {

namespace {

class Scene : public WindowTest {
  public:
    void openSettings(const QString& tab) {
        windows->showSettings();
        settle();
        settings().click(tab);
    }
    void threePresets() {
        const auto evening = savedPreset("Evening", "airpods", "flip");
        const auto desk = savedPreset("Desk", "dac", "studio");
        savedPreset("Kitchen", "airpods", "kitchen-radio");
        preferences().setFavorite(true, evening.id);
        preferences().setAutoConnect(true, desk.id);
        settle();
    }
    void estimate(const std::string& one, const std::string& other) {
        state().syncProfiles().save(
            {{one, other}, one, {{other, 182}}, SyncProfile::Kind::estimated, actor.now()});
    }
    void ask(std::string_view missing) {
        preferences().disconnectBehavior.set(DisconnectBehavior::askUser);
        play("airpods", "flip");
        unplug(missing);
    }
    void nineOutputs() {
        for (int count = 0; count < 4; ++count)
            bench.plugAnother();
        actor.runUntilIdle();
        settle();
    }
    void nameOutputs(const std::string& first, const std::string& second) {
        world().rename("airpods", first);
        world().rename("flip", second);
        actor.runUntilIdle();
        play("airpods", "flip");
        savedPreset(first, "airpods", "flip");
    }
};

enum class Shows { panel, settings, welcome, bench };

struct NamedState {
    const char* name;
    /// A text that only this state has, or few others.
    const char* evidence;
    void (*setUp)(Scene& scene);
    Shows window = Shows::panel;
    /// Names too long for their place may end in an ellipsis.
    bool mayElide = false;
    /// A list or menu lies on top of other controls.
    bool hasPopup = false;
};

void PrintTo(const NamedState& state, std::ostream* stream) { *stream << state.name; }

const NamedState states[]{
    {"panel-idle-empty", "Choose two outputs to play together.", [](Scene&) {}},
    {"panel-no-outputs", "Connect a second output to play together.",
     [](Scene& s) {
         for (const char* uid : {"airpods", "flip", "dac", "studio", "builtin"})
             s.unplug(uid);
     }},
    {"panel-choice-missing", "Not connected",
     [](Scene& s) {
         s.choose("airpods", "flip");
         s.unplug("flip");
     }},
    {"picker-9-outputs", "Monitor 4",
     [](Scene& s) {
         s.nineOutputs();
         s.choose("airpods", "flip");
         s.panel().click("Second output");
     },
     Shows::panel, true, true},
    {"panel-preparing", "Creating audio group…",
     [](Scene& s) {
         s.world().faults.aliveAfter = std::chrono::milliseconds(200);
         s.choose("airpods", "flip");
         s.menuBar().play();
         s.advance(std::chrono::milliseconds(60));
     }},
    {"panel-playing", "182 ms corrected",
     [](Scene& s) {
         s.estimate("airpods", "flip");
         s.play("airpods", "flip");
     }},
    {"panel-muted", "Volume is set on the device",
     [](Scene& s) {
         s.play("airpods", "studio");
         s.panel().click("Mute AirPods Pro");
     }},
    {"panel-in-step", "Click while you adjust",
     [](Scene& s) {
         s.estimate("airpods", "flip");
         s.play("airpods", "flip");
         s.panel().click("Adjust when each output is heard");
     }},
    {"panel-degraded", "JBL Flip 6 disconnected",
     [](Scene& s) {
         s.play("airpods", "flip");
         s.unplug("flip");
     }},
    {"panel-asking", "Stop playing together", [](Scene& s) { s.ask("airpods"); }},
    {"panel-reconnecting", "Reconnecting…",
     [](Scene& s) {
         s.play("airpods", "flip");
         s.world().faults.aliveAfter = std::chrono::milliseconds(200);
         s.world().restartAudioService();
         while (!s.state().coordinator().isReconnecting() && s.actor.runNextTurn()) {}
         s.settle();
     }},
    {"panel-error", "Use Reset Audio Configuration",
     [](Scene& s) {
         s.bench.failNextStart();
         s.play("airpods", "flip");
     }},
    {"presets-30", "Setup 6",
     [](Scene& s) {
         for (int number = 1; number <= 30; ++number)
             s.savedPreset("Setup " + std::to_string(number), "airpods", "flip");
     }},
    {"presets-saving", "Name of this setup",
     [](Scene& s) {
         s.play("airpods", "flip");
         s.panel().click("Save current setup");
     }},
    {"presets-menu", "Rename",
     [](Scene& s) {
         s.threePresets();
         s.panel().click("More for Desk");
     },
     Shows::panel, false, true},
    {"presets-undo", "Deleted “Desk”",
     [](Scene& s) {
         s.threePresets();
         s.panel().click("More for Desk");
         s.panel().click("Delete");
     }},
    {"names-long", "Bluetooth-Schlafzimmerradiowecker",
     [](Scene& s) {
         s.nameOutputs("Wohnzimmer-Lautsprecherverstärker-Kopfhörerausgang",
                       "Bluetooth-Schlafzimmerradiowecker mit Freisprecheinrichtung");
     },
     Shows::panel, true},
    {"names-alike", "Family 17h/19h… Digital Stereo",
     [](Scene& s) {
         for (const char* end : {"Analog Stereo", "Digital Stereo"})
             s.world().plug({.uid = end,
                             .name = std::string("Family 17h/19h HD Audio Controller ") + end,
                             .transport = kAudioDeviceTransportTypePCI,
                             .volume = 0.5F});
         s.actor.runUntilIdle();
         s.play("Analog Stereo", "Digital Stereo");
         s.savedPreset("Both chips", "Analog Stereo", "Digital Stereo");
         s.unplug("Analog Stereo");
         s.panel().click("Choose other outputs");
     },
     Shows::panel, true},
    {"picker-alike", "USB · 4",
     [](Scene& s) {
         for (const char* uid : {"headset-1", "headset-2", "headset-3", "headset-4"})
             s.world().plug(
                 {.uid = uid, .name = "USB Headset Adapter", .transport = kAudioDeviceTransportTypeUSB});
         s.actor.runUntilIdle();
         s.choose("headset-2", "flip");
         s.savedPreset("Both headsets", "headset-1", "headset-3");
         s.panel().click("Second output");
     },
     Shows::panel, true, true},
    {"presets-states", "kitchen-radio is not connected",
     [](Scene& s) {
         s.threePresets();
         s.state().presets().activate(s.preferences().userPresets().front().id);
         s.actor.runUntilIdle();
         s.settle();
         s.panel().click("More for Kitchen");
         s.panel().click("Auto Connect");
     }},
    {"presets-refused", "Choose another name.",
     [](Scene& s) {
         s.threePresets();
         s.play("airpods", "flip");
         s.panel().click("Save current setup");
         s.panel().type("Last Used");
     }},
    {"panel-choosing", "Play Together",
     [](Scene& s) {
         s.play("airpods", "flip");
         s.panel().click("Choose other outputs");
         s.choose("airpods", "dac");
     }},
    {"names-right-to-left", "רמקול בסלון", [](Scene& s) { s.nameOutputs("سماعات المكتب", "רמקול בסלון"); }},
    {"settings-general", "Auto Connect saved setups", [](Scene& s) { s.openSettings("General"); },
     Shows::settings},
    {"settings-audio", "Preferred sample rate", [](Scene& s) { s.openSettings("Audio"); }, Shows::settings},
    {"settings-sync", "Playing…",
     [](Scene& s) {
         s.estimate("airpods", "flip");
         s.estimate("airpods", "dac");
         s.play("airpods", "flip");
         s.openSettings("Sync");
         s.settings().click("Play Test");
     },
     Shows::settings},
    {"settings-aligned", "JBL Flip 6 was 183.4 ms late. Both now arrive together (±0.1 ms).",
     [](Scene& s) {
         s.play("airpods", "flip");
         s.openSettings("Sync");
         s.settings().window().resize(560, 1000);
         s.settle();
         s.settings().click("Align with Microphone");
         for (int turn = 0; turn < 200 && s.state().alignment().isRunning(); ++turn)
             s.advance(std::chrono::milliseconds(50));
         s.settle();
     },
     Shows::settings},
    {"settings-advanced", "stopping",
     [](Scene& s) {
         s.play("airpods", "flip");
         s.openSettings("Advanced");
         s.world().faults.lingersAfterDestroy = std::chrono::milliseconds(200);
         s.settings().window().resize(560, 1100);
         s.settle();
         s.settings().click("Reset Audio Configuration");
     },
     Shows::settings},
    {"settings-about", "Version", [](Scene& s) { s.openSettings("About"); }, Shows::settings},
    {"welcome", "Welcome to Velto", [](Scene& s) { s.state(); }, Shows::welcome},
    {"bench", "Fail Next Start",
     [](Scene& s) {
         s.play("airpods", "flip");
         s.bench.togglePlug("studio");
         s.benchPage();
     },
     Shows::bench, true},
};

/// Of names the whole can be had where they are cut.
std::vector<QString> cutLabels(const Page& page, bool names) {
    std::vector<QString> cut;
    for (const QQuickItem* label : page.labels()) {
        const bool isTooWide = label->property("contentWidth").toDouble() > label->width() + 1;
        const bool isName = label->property("whole").isValid();
        if ((label->property("truncated").toBool() || isTooWide) && (names || !isName))
            cut.push_back(label->property("text").toString());
    }
    return cut;
}

/// Pairs of controls of which neither is in the other, and that lie on each other.
std::vector<QString> overlaps(const Page& page) {
    std::vector<QString> found;
    std::vector<Control> controls = page.controls();
    std::erase_if(controls,
                  [](const Control& control) { return !control.isOperable() || control.isOffscreen; });
    for (auto one = controls.begin(); one != controls.end(); ++one)
        for (auto other = one + 1; other != controls.end(); ++other)
            if (one->place.intersects(other->place) && !one->item->isAncestorOf(other->item))
                found.push_back(one->name + " and " + other->name);
    return found;
}

class PictureTests : public Scene, public testing::WithParamInterface<NamedState> {
  protected:
    Page shown() {
        switch (GetParam().window) {
        case Shows::panel:
            return panel();
        case Shows::settings:
            return settings();
        case Shows::welcome:
            return welcome();
        case Shows::bench:
            return benchPage();
        }
        throw std::logic_error("no such window");
    }
    /// Kept for people to look at.
    QImage keep(const QString& scheme) {
        const QImage picture = shown().picture();
        const double scale = shown().window().devicePixelRatio();
        const QString suffix = scale == 1 ? QString() : QStringLiteral("@%1x").arg(scale);
        QDir().mkpath(QStringLiteral(VELTO_SCREENSHOTS));
        picture.save(QStringLiteral(VELTO_SCREENSHOTS "/%1-%2%3.png").arg(GetParam().name, scheme, suffix));
        return picture;
    }
    static qsizetype colorCount(const QImage& picture) {
        QSet<QRgb> colors;
        for (int y = 0; y < picture.height(); y += 2)
            for (int x = 0; x < picture.width(); x += 2)
                colors.insert(picture.pixel(x, y));
        return colors.size();
    }
};

TEST_P(PictureTests, isWholeReadableAndApart) {
    if (GetParam().window == Shows::welcome) {
        launchForTheFirstTime();
    } else {
        launch();
        dropPanel();
    }
    GetParam().setUp(*this);
    settle();
    EXPECT_TRUE(shown().shows(GetParam().evidence)) << "This is another state";

    const QImage light = keep("light");
    EXPECT_GT(colorCount(light), 60);
    setDark(true);
    const QImage dark = keep("dark");
    EXPECT_GT(colorCount(dark), 60);
    const QPoint ground(light.width() / 2, 4);
    EXPECT_GT(light.pixelColor(ground).lightness(), 180);
    EXPECT_LT(dark.pixelColor(ground).lightness(), 80);

    if (GetParam().window != Shows::bench)
        EXPECT_THAT(cutLabels(shown(), !GetParam().mayElide), testing::IsEmpty());
    if (!GetParam().hasPopup) EXPECT_THAT(overlaps(shown()), testing::IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(States, PictureTests, testing::ValuesIn(states), [](const auto& info) {
    std::string name = info.param.name;
    std::ranges::replace(name, '-', '_');
    return name;
});

} // namespace

} // namespace velto
