#include "Velto/Linux/NotifierStatusItem.h"

#include "Simulation/RecordingLogSink.h"
#include "Tests/Desktop/DesktopShell.h"
#include "Tests/Desktop/DesktopTest.h"
#include "Tools/SoundLab/OwnedFolder.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QGuiApplication>
#include <QPalette>

#include <gmock/gmock.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace velto {

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::Ge;
using testing::IsEmpty;
using testing::Le;
using testing::SizeIs;

class NotifierStatusItemTests : public testing::Test {
  protected:
    NotifierStatusItemTests() { setTextColor({0x11, 0x22, 0x33}); }
    ~NotifierStatusItemTests() override {
        item.reset();
        EXPECT_FALSE(QDBusConnection::sessionBus().interface()->isServiceRegistered(service));
        EXPECT_THAT(log.lines(), IsEmpty());
    }

    static void setTextColor(const QColor& color) {
        QPalette palette;
        palette.setColor(QPalette::WindowText, color);
        QGuiApplication::setPalette(palette);
    }
    void makeItem() {
        item.emplace(
            StatusItem::Handlers{.activated = [this](const QRect& place) { places.push_back(place); },
                                 .scrolled = [this](double notches) { scrolled.push_back(notches); },
                                 .settingsChosen = [this] { chosen.emplace_back("settings"); },
                                 .quitChosen = [this] { chosen.emplace_back("quit"); }});
    }
    /// An item that is shown, and its signals so far are forgotten.
    void showItem() {
        shell.emplace();
        makeItem();
        item->setLabel("speaker.wave.2", "Velto");
        ASSERT_TRUE(isShown());
        shell->takeSignals();
    }
    bool isShown() {
        return runUntil([this] { return !shell->items().empty(); });
    }
    NotifierPixmaps icon() { return qdbus_cast<NotifierPixmaps>(shell->property("IconPixmap")); }
    static std::string signature(const QVariant& value) {
        return value.value<QDBusArgument>().currentSignature().toStdString();
    }
    /// The colours of all that is drawn to the full.
    static std::set<QRgb> inks(const NotifierPixmap& pixmap) {
        std::set<QRgb> result;
        for (int i = 0; i + 3 < pixmap.bytes.size(); i += 4)
            if (static_cast<unsigned char>(pixmap.bytes[i]) == 0xff)
                result.insert(qRgb(static_cast<unsigned char>(pixmap.bytes[i + 1]),
                                   static_cast<unsigned char>(pixmap.bytes[i + 2]),
                                   static_cast<unsigned char>(pixmap.bytes[i + 3])));
        return result;
    }

    const QString service =
        QStringLiteral("org.kde.StatusNotifierItem-%1-1").arg(QCoreApplication::applicationPid());
    RecordingLogSink log;
    std::optional<DesktopShell> shell;
    std::optional<NotifierStatusItem> item;
    std::vector<QRect> places;
    std::vector<double> scrolled;
    std::vector<std::string> chosen;
};

TEST_F(NotifierStatusItemTests, TheDesktopIsToldOfItOnceThereIsSomethingToShow) {
    shell.emplace();
    makeItem();
    shell->settle();
    EXPECT_THAT(shell->items(), IsEmpty());
    item->setLabel("speaker.wave.2", "Velto");
    ASSERT_TRUE(isShown());
    EXPECT_THAT(shell->items(), ElementsAre(service));
    EXPECT_EQ(shell->property("ItemIsMenu"), false);
    const QVariant toolTip = shell->property("ToolTip");
    ASSERT_EQ(signature(toolTip), "(sa(iiay)ss)");
    EXPECT_EQ(qdbus_cast<NotifierToolTip>(toolTip).title, "Velto");
}

TEST_F(NotifierStatusItemTests, TheIconIsTheSymbolInTheColourOfText) {
    showItem();
    ASSERT_EQ(signature(shell->property("IconPixmap")), "a(iiay)");
    const NotifierPixmaps idle = icon();
    ASSERT_THAT(idle, SizeIs(Ge(3)));
    for (const NotifierPixmap& pixmap : idle) {
        EXPECT_THAT(pixmap.width, AllOf(Ge(16), Le(48)));
        EXPECT_EQ(pixmap.bytes.size(), pixmap.width * pixmap.height * 4);
        EXPECT_THAT(inks(pixmap), ElementsAre(qRgb(0x11, 0x22, 0x33))) << pixmap.width;
        EXPECT_EQ(pixmap.bytes[0], 0) << "no corner is drawn";
    }

    item->setLabel("hifispeaker.2", "Velto, playing together");
    EXPECT_THAT(shell->takeSignals(), testing::UnorderedElementsAre("NewIcon", "NewTitle", "NewToolTip"));
    const NotifierPixmaps playing = icon();
    EXPECT_NE(playing.front().bytes, idle.front().bytes);
    EXPECT_EQ(shell->property("Title"), "Velto, playing together");
    EXPECT_EQ(qdbus_cast<NotifierToolTip>(shell->property("ToolTip")).title, "Velto, playing together");

    item->setLabel("hifispeaker.2", "Velto, playing together");
    EXPECT_THAT(shell->takeSignals(), IsEmpty());

    setTextColor({0xfe, 0xed, 0xdc});
    EXPECT_THAT(shell->takeSignals(), ElementsAre("NewIcon"));
    EXPECT_THAT(inks(icon().front()), ElementsAre(qRgb(0xfe, 0xed, 0xdc)));
}

TEST_F(NotifierStatusItemTests, AnIconThatTheDesktopCanColourIsPreferred) {
    const OwnedFolder folder("velto-icons");
    const std::filesystem::path icons = folder.path() / "hicolor" / "symbolic";
    std::filesystem::create_directories(icons / "status");
    std::ofstream(folder.path() / "hicolor" / "index.theme")
        << "[Icon Theme]\nName=Hicolor\nDirectories=symbolic/status\n"
           "[symbolic/status]\nSize=16\nMinSize=8\nMaxSize=512\nType=Scalable\nContext=Status\n";
    std::ofstream(icons / "status" / "com.corlent.velto.speaker.wave.2-symbolic.svg") << "<svg/>";
    QIcon::setThemeSearchPaths({QString::fromStdString(folder.path())});
    QIcon::setThemeName("hicolor");
    showItem();
    EXPECT_EQ(shell->property("IconName"), "com.corlent.velto.speaker.wave.2-symbolic");
    item->setLabel("hifispeaker.2", "Velto, playing together");
    EXPECT_EQ(shell->property("IconName"), "") << "there is none of that name";
}

TEST_F(NotifierStatusItemTests, ClicksSayWhereAndTheWheelHowFar) {
    showItem();
    shell->callItem("Activate", {300, 40});
    shell->callItem("SecondaryActivate", {17, 1060});
    shell->callItem("Activate", {0, 0}); // from a desktop that doesn't know
    ASSERT_THAT(places, SizeIs(3));
    EXPECT_EQ(places[0].center(), QPoint(300, 40));
    EXPECT_EQ(places[1].center(), QPoint(17, 1060));
    EXPECT_THAT(places[0].width(), AllOf(Ge(1), Le(32)));
    EXPECT_TRUE(places[2].isEmpty());

    for (const int delta : {120, -240, 60, 0, 1, -2})
        shell->callItem("Scroll", {delta, "vertical"});
    shell->callItem("Scroll", {120, "Horizontal"});
    EXPECT_THAT(scrolled, ElementsAre(1, -2, 0.5, -1, 2));
}

TEST_F(NotifierStatusItemTests, WhatIsChosenInTheMenuIsDoneOnce) {
    showItem();
    EXPECT_TRUE(shell->choose("Settings…"));
    EXPECT_TRUE(shell->choose("Quit Velto"));
    EXPECT_THAT(chosen, ElementsAre("settings", "quit"));
    EXPECT_TRUE(shell->choose("Open Velto"));
    ASSERT_THAT(places, SizeIs(1));
    EXPECT_TRUE(places[0].isEmpty());

    const auto event = [](int id, const char* name) {
        return NotifierMenuEvent{id, QString::fromLatin1(name), QDBusVariant(0), 0};
    };
    chosen.clear();
    QList<NotifierMenuEvent> events;
    for (int id = 0; id <= 4; ++id)
        events << event(id, "hovered") << event(id, "opened");
    events << event(2, "clicked") << event(0, "clicked") << event(3, "clicked") << event(77, "clicked");
    const QDBusMessage answer = shell->callMenu("EventGroup", {QVariant::fromValue(events)});
    EXPECT_EQ(answer.errorMessage().toStdString(), "");
    EXPECT_EQ(qdbus_cast<QList<int>>(answer.arguments().value(0)), QList<int>{77});
    EXPECT_THAT(chosen, ElementsAre("settings"));
}

} // namespace
} // namespace velto
