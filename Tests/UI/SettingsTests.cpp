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
        settings().window().resize(560, 1100);
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
