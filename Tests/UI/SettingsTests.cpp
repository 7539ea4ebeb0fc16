// The settings window: each control, and what it changes.
#include "Tests/UI/WindowTest.h"

#include <QClipboard>
#include <QGuiApplication>

#include <algorithm>

namespace velto {

namespace {

class SettingsTests : public WindowTest {
  protected:
    void open(const QString& tab) {
        if (!windows->settingsWindow()) panel().click("Settings");
        settings().window().resize(settings().window().width(), 1100);
        settle();
        settings().click(tab);
    }
    void pick(const QString& setting, const QString& choice) {
        settings().click(setting);
        settings().click(choice);
    }
};

TEST_F(SettingsTests, switchesAreTurnedByMouseAndKeyboard) {
    launch();
    open("General");
    const SettingsList& list = state().settings().list();
    int count = 0;
    for (const SettingRow& row : list.rows()) {
        if (row.kind != SettingRow::Kind::toggle || row.section == "Saved sync profiles") continue;
        ++count;
        const auto isOn = [&] {
            const auto rows = list.rows();
            return asBool(std::ranges::find(rows, row.key, &SettingRow::key)->value);
        };
        const QString name = QString::fromStdString(row.label);
        SCOPED_TRACE(row.key);
        const bool before = isOn();
        EXPECT_EQ(settings().find(name).isChecked, before);
        settings().click(name);
        EXPECT_NE(isOn(), before);
        EXPECT_NE(settings().find(name).isChecked, before);
        settings().tabTo(name);
        settings().key(Qt::Key_Space);
        EXPECT_EQ(isOn(), before);
        EXPECT_EQ(settings().find(name).isChecked, before);
    }
    EXPECT_EQ(count, 6);
}

TEST_F(SettingsTests, choicesAndNamesAreKept) {
    launch();
    open("General");
    pick("When an output disconnects", "Ask me");
    open("Audio");
    pick("Preferred sample rate", "48 kHz");
    pick("Clock", "Lowest latency output");
    settings().click("Output name");
    settings().key(Qt::Key_A, Qt::ControlModifier);
    settings().type("Both Rooms");
    open("Sync");
    pick("Reference output", "JBL Flip 6");
    settings().click("Remember sync profiles");
    settings().dragTo("Click volume", 0.75);

    EXPECT_EQ(preferences().disconnectBehavior(), DisconnectBehavior::askUser);
    EXPECT_EQ(preferences().preferredSampleRate(), PreferredSampleRate::rate48000);
    EXPECT_EQ(preferences().clockStrategy(), ClockStrategy::lowestLatency);
    EXPECT_EQ(preferences().aggregateDeviceName(), "Both Rooms");
    EXPECT_EQ(preferences().defaultReferenceDeviceUID(), "flip");
    EXPECT_FALSE(preferences().rememberSyncProfiles());
    EXPECT_NEAR(preferences().syncTestVolume(), 0.75F, 0.02F);
}

TEST_F(SettingsTests, dropDownsKnowWhatIsChosenAndOnlyTheirListChangesIt) {
    launch();
    choose("airpods", "flip");
    preferences().clockStrategy.set(ClockStrategy::lowestLatency); // the last one
    preferences().defaultReferenceDeviceUID.set("flip");
    const auto check = [](const std::function<Page()>& page) {
        int count = 0;
        for (const Control& box : page().controls()) {
            if (box.role != QAccessible::ComboBox) continue;
            ++count;
            SCOPED_TRACE(box.name.toStdString());
            const auto number = [&](const char* name) { return box.item->property(name).toInt(); };
            const auto isOpen = [&] {
                return box.item->property("popup").value<QObject*>()->property("visible").toBool();
            };
            const auto tellsChoice = [&](const QString& description) {
                return description.startsWith(box.item->property("currentText").toString());
            };
            EXPECT_TRUE(tellsChoice(box.description));
            page().tabTo(box.name);
            using enum Qt::Key;
            for (const Qt::Key key :
                 {Key_Space, Key_Return, Key_Enter, Key_Down, Key_Up, Key_Home, Key_End}) {
                page().key(key);
                EXPECT_TRUE(isOpen()) << "key " << key;
                EXPECT_EQ(number("highlightedIndex"), number("currentIndex"));
                page().key(Qt::Key_Escape);
                EXPECT_FALSE(isOpen());
                EXPECT_EQ(page().find(box.name).description, box.description) << "key " << key;
            }
            const bool isLast = number("currentIndex") + 1 == number("count");
            page().key(Qt::Key_Return);
            page().key(isLast ? Qt::Key_Up : Qt::Key_Down);
            page().key(Qt::Key_Return);
            EXPECT_FALSE(isOpen());
            const QString picked = page().find(box.name).description;
            EXPECT_NE(picked, box.description);
            EXPECT_TRUE(tellsChoice(picked));
        }
        return count;
    };
    EXPECT_EQ(check([this] { return panel(); }), 2);
    for (const auto& [tab, count] : {std::pair{"General", 1}, {"Audio", 2}, {"Sync", 1}}) {
        open(tab);
        EXPECT_EQ(check([this] { return settings(); }), count) << tab;
    }
}

TEST_F(SettingsTests, theRowThatWasReachedIsTakenWhateverComesAndGoesMeanwhile) {
    launch();
    choose("studio", "flip");
    preferences().defaultReferenceDeviceUID.set("studio");
    const auto check = [this](const std::function<Page()>& page, const QString& name, const auto& chosen) {
        SCOPED_TRACE(name.toStdString());
        const auto reach = [&](const QString& value) {
            page().tabTo(name);
            page().key(Qt::Key_Return);
            page().key(Qt::Key_Home);
            QObject* box = page().find(name).item;
            for (int row = 0; row < 6 && box->property("reached") != value; ++row)
                page().key(Qt::Key_Down);
            ASSERT_EQ(box->property("reached").toString(), value);
        };
        reach("dac");
        unplug("airpods"); // above it
        page().key(Qt::Key_Return);
        EXPECT_EQ(chosen(), "dac");
        reach("studio");
        replug("airpods");
        page().key(Qt::Key_Return);
        EXPECT_EQ(chosen(), "studio");
        reach("airpods");
        unplug("airpods");
        page().key(Qt::Key_Return);
        EXPECT_EQ(chosen(), "studio") << "not the one that got into its place";
        replug("airpods");
        settle();
    };
    check([this] { return panel(); }, "First output",
          [this] {
              const auto output = menuBar().firstDevice();
              return output ? output->uid : "none";
          });
    open("Sync");
    check([this] { return settings(); }, "Reference output",
          [this] { return preferences().defaultReferenceDeviceUID(); });
}

TEST_F(SettingsTests, theWindowIsNoWiderThanTheScreenAndItsSwitchesAreWithinIt) {
    launch();
    open("General");
    QQuickWindow& window = settings().window();
    window.setProperty("longestWidth", 400);
    settle();
    window.resize(window.minimumWidth(), window.height());
    settle();
    EXPECT_EQ(window.width(), 400);
    for (const char* tab : {"General", "Audio", "Sync", "Advanced", "About"}) {
        open(tab);
        for (const Control& control : settings().controls()) {
            if (!control.isOperable()) continue;
            EXPECT_GE(control.place.left(), 0) << tab << ": " << control.name.toStdString();
            EXPECT_LE(control.place.right(), 400) << tab << ": " << control.name.toStdString();
        }
    }
}

TEST_F(SettingsTests, longPagesAreScrolledByKeys) {
    launch();
    open("About");
    settings().window().resize(560, 400);
    settle();
    const int height = settings().window().height();
    const auto bottom = [this] { return settings().find("Inter").place.bottom(); };
    const int atFirst = bottom();
    ASSERT_GT(atFirst, height);
    settings().key(Qt::Key_PageDown);
    EXPECT_LT(bottom(), atFirst);
    settings().key(Qt::Key_End);
    EXPECT_LE(bottom(), height);
    settings().key(Qt::Key_Up);
    settings().key(Qt::Key_Home);
    EXPECT_EQ(bottom(), atFirst);
}

TEST_F(SettingsTests, profilesAreRemovedTheReportCopiedAndTheSetupReset) {
    launch();
    play("airpods", "flip");
    state().syncProfiles().save(
        {{"airpods", "flip"}, "airpods", {{"flip", 12}}, SyncProfile::Kind::manual, actor.now()});
    open("Sync");
    settings().click("Remove AirPods Pro + JBL Flip 6");
    EXPECT_TRUE(state().syncProfiles().profiles().empty());

    open("Advanced");
    settings().click("Copy Debug Information");
    EXPECT_THAT(QGuiApplication::clipboard()->text().toStdString(),
                testing::HasSubstr("AirPods Pro — Transport: Bluetooth"));
    EXPECT_TRUE(settings().shows("Copied"));
    advance(std::chrono::seconds(1));
    settings().click("Copy Debug Information");
    advance(std::chrono::milliseconds(1900));
    EXPECT_TRUE(settings().shows("Copied"));
    advance(std::chrono::milliseconds(100));
    EXPECT_FALSE(settings().shows("Copied"));

    settings().window().resize(560, 1500);
    settle();
    settings().click("Reset Audio Configuration");
    actor.runUntilIdle();
    settle();
    EXPECT_TRUE(world().aggregates().empty());
    EXPECT_EQ(settings().find("Status").description, "idle");
}

TEST_F(SettingsTests, aMicrophoneTellsWhichOutputIsLate) {
    launch();
    open("Sync");
    settings().window().resize(560, 1500);
    settle();
    EXPECT_FALSE(settings().find("Align with Microphone").isEnabled);
    play("airpods", "flip");
    const auto untilDone = [&] {
        for (int turn = 0; turn < 200 && state().alignment().isRunning(); ++turn)
            advance(std::chrono::milliseconds(50));
        settle();
    };
    settings().click("Align with Microphone");
    advance(std::chrono::seconds(1));
    EXPECT_TRUE(settings().has("What the microphone hears"));
    settings().click("Cancel");
    EXPECT_TRUE(settings().shows("The alignment was cancelled; nothing was changed."));

    settings().tabTo("Align with Microphone");
    settings().key(Qt::Key_Space);
    untilDone();
    EXPECT_TRUE(settings().shows("JBL Flip 6 was 183.4 ms late. Both now arrive together (±0.1 ms)."));
    EXPECT_TRUE(settings().has("before: AirPods Pro at 0.0 ms, JBL Flip 6 at 183.4 ms; "
                               "after: AirPods Pro at 0.0 ms, JBL Flip 6 at 0.0 ms"));
    EXPECT_NEAR(world().aggregates().at(0).delays.at("airpods"), 183.4, 0.05);

    menuBar().stop();
    settle();
    EXPECT_FALSE(settings().shows("JBL Flip 6 was 183.4 ms late. Both now arrive together (±0.1 ms)."));
}

} // namespace

} // namespace velto
