#include "Velto/Linux/NotifierStatusItem.h"

#include "Simulation/RecordingLogSink.h"
#include "Tests/Desktop/DesktopShell.h"
#include "Tests/Desktop/DesktopTest.h"
#include "Tools/SoundLab/OwnedFolder.h"
#include "Velto/Qt/SymbolImage.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QGuiApplication>
#include <QPalette>

#include <gmock/gmock.h>

#include <cmath>
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
                                 .menu = [this] { return menu; },
                                 .menuWanted = [this](const QRect& place) { menuPlaces.push_back(place); },
                                 .quitChosen = [] {}});
    }
    StatusMenuEntry entry(const std::string& key, const std::string& label) {
        return {.key = key, .label = label, .chosen = [this, key] { chosen.push_back(key); }};
    }
    /// An item that is shown, and its signals so far are forgotten.
    void showItem() {
        shell.emplace();
        makeItem();
        item->setLook(idle);
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
    std::vector<QRect> menuPlaces;
    std::vector<std::string> chosen;
    std::vector<StatusMenuEntry> menu;
    const StatusItem::Look idle{
        .form = StatusItemForm::idle, .accessibilityText = "Velto", .toolTip = "Not playing"};
    const StatusItem::Look playing{.form = StatusItemForm::playing,
                                   .accessibilityText = "Velto, playing together",
                                   .toolTip = "AirPods + Desk, 40%"};
};

TEST_F(NotifierStatusItemTests, TheDesktopIsToldOfItOnceThereIsSomethingToShow) {
    shell.emplace();
    makeItem();
    shell->settle();
    EXPECT_THAT(shell->items(), IsEmpty());
    item->setLook(idle);
    ASSERT_TRUE(isShown());
    EXPECT_THAT(shell->items(), ElementsAre(service));
    EXPECT_EQ(shell->property("ItemIsMenu"), false);
    const QVariant toolTip = shell->property("ToolTip");
    ASSERT_EQ(signature(toolTip), "(sa(iiay)ss)");
    EXPECT_EQ(qdbus_cast<NotifierToolTip>(toolTip).title, "Velto");
    EXPECT_EQ(qdbus_cast<NotifierToolTip>(toolTip).text, "Not playing");
}

TEST_F(NotifierStatusItemTests, TheIconIsTheSymbolInTheColourOfText) {
    showItem();
    ASSERT_EQ(signature(shell->property("IconPixmap")), "a(iiay)");
    const NotifierPixmaps sizes = icon();
    ASSERT_THAT(sizes, SizeIs(Ge(3)));
    for (const NotifierPixmap& pixmap : sizes) {
        EXPECT_THAT(pixmap.width, AllOf(Ge(16), Le(48)));
        EXPECT_EQ(pixmap.bytes.size(), pixmap.width * pixmap.height * 4);
        EXPECT_THAT(inks(pixmap), ElementsAre(qRgb(0x11, 0x22, 0x33))) << pixmap.width;
        EXPECT_EQ(pixmap.bytes[0], 0) << "no corner is drawn";
    }

    item->setLook(playing);
    EXPECT_THAT(shell->takeSignals(), testing::UnorderedElementsAre("NewIcon", "NewTitle", "NewToolTip"));
    EXPECT_EQ(shell->property("Title"), "Velto, playing together");
    EXPECT_EQ(qdbus_cast<NotifierToolTip>(shell->property("ToolTip")).text, "AirPods + Desk, 40%");
    item->setLook(playing);
    EXPECT_THAT(shell->takeSignals(), IsEmpty());

    setTextColor({0xfe, 0xed, 0xdc});
    EXPECT_THAT(shell->takeSignals(), ElementsAre("NewIcon"));
    EXPECT_THAT(inks(icon().front()), ElementsAre(qRgb(0xfe, 0xed, 0xdc)));
}

TEST_F(NotifierStatusItemTests, ANameIsNoMarkup) {
    showItem();
    StatusItem::Look hostile = playing;
    hostile.toolTip = QStringLiteral("Bang & Olufsen <img src='http://elsewhere/'> disconnected");
    item->setLook(hostile);
    const QString markup = qdbus_cast<NotifierToolTip>(shell->property("ToolTip")).text;
    EXPECT_TRUE(markup.startsWith(QLatin1String("Bang & Olufsen "))) << markup.toStdString();
    EXPECT_FALSE(markup.contains(u'<')) << markup.toStdString();
}

TEST_F(NotifierStatusItemTests, ItsFormsAreToldApartAtSixteenPixelsInOneColour) {
    std::vector<QImage> forms{symbolImage("speaker.wave.2", Qt::black, {16, 16})}; // other programs' volume
    for (const auto form :
         {StatusItemForm::idle, StatusItemForm::playing, StatusItemForm::missing, StatusItemForm::asking})
        forms.push_back(statusImage(form, Qt::black, {16, 16}));
    constexpr int differing = 45; // of 256 pixels
    for (std::size_t one = 0; one < forms.size(); ++one)
        for (std::size_t other = 0; other < one; ++other) {
            double difference = 0;
            for (int y = 0; y < 16; ++y)
                for (int x = 0; x < 16; ++x)
                    difference +=
                        std::abs(qAlpha(forms[one].pixel(x, y)) - qAlpha(forms[other].pixel(x, y))) / 255.0;
            EXPECT_GE(difference, differing) << one << " and " << other;
        }
}

TEST_F(NotifierStatusItemTests, AnIconThatTheDesktopCanColourIsPreferred) {
    const OwnedFolder folder("velto-icons");
    const std::filesystem::path icons = folder.path() / "hicolor" / "symbolic";
    std::filesystem::create_directories(icons / "apps");
    std::ofstream(folder.path() / "hicolor" / "index.theme")
        << "[Icon Theme]\nName=Hicolor\nDirectories=symbolic/apps\n"
           "[symbolic/apps]\nSize=16\nMinSize=8\nMaxSize=512\nType=Scalable\nContext=Applications\n";
    for (const char* kind : {"symbolic", "light"})
        std::ofstream(icons / "apps" / ("com.corlent.velto.idle-" + std::string(kind) + ".svg")) << "<svg/>";
    QIcon::setThemeSearchPaths({QString::fromStdString(folder.path())});
    QIcon::setThemeName("hicolor");
    showItem();
    EXPECT_EQ(shell->property("IconName"), "com.corlent.velto.idle-symbolic");
    qputenv("XDG_CURRENT_DESKTOP", "sway:wlroots"); // whose bar colours nothing, and is dark
    EXPECT_EQ(shell->property("IconName"), "com.corlent.velto.idle-light");
    EXPECT_GT(qGray(*inks(icon().front()).begin()), 200);
    qunsetenv("XDG_CURRENT_DESKTOP");
    item->setLook(playing);
    EXPECT_EQ(shell->property("IconName"), "") << "there is none of that name";
}

TEST_F(NotifierStatusItemTests, ClicksSayWhereAndTheWheelHowFar) {
    showItem();
    shell->callItem("Activate", {300, 40});
    shell->callItem("SecondaryActivate", {17, 700});
    shell->callItem("Activate", {0, 0}); // from a desktop that doesn't know
    ASSERT_THAT(places, SizeIs(3));
    EXPECT_EQ(places[0].center(), QPoint(300, 40));
    EXPECT_EQ(places[1].center(), QPoint(17, 700));
    EXPECT_THAT(places[0].width(), AllOf(Ge(1), Le(32)));
    EXPECT_TRUE(places[2].isEmpty());

    for (const int delta : {120, -240, 60, 0, 1, -2})
        shell->callItem("Scroll", {delta, "vertical"});
    shell->callItem("Scroll", {120, "Horizontal"});
    EXPECT_THAT(scrolled, ElementsAre(1, -2, 0.5, -1, 2));
}

TEST_F(NotifierStatusItemTests, TheMenuFollowsWhatHappensAndWhatIsChosenInItIsDoneOnce) {
    menu = {entry("play", "Play Together"),
            entry("a", "Evening_1"),
            {.key = "line"},
            entry("quit", "Quit Velto")};
    menu[1].isChecked = true;
    showItem();
    EXPECT_TRUE(shell->choose("Play Together"));
    EXPECT_TRUE(shell->choose("Evening__1")) << "one alone would mark a key";
    EXPECT_TRUE(shell->choose("Quit Velto"));
    EXPECT_THAT(chosen, ElementsAre("play", "a", "quit"));
    shell->callItem("ContextMenu", {300, 40}); // from a desktop that draws none
    ASSERT_THAT(menuPlaces, SizeIs(1));
    EXPECT_EQ(menuPlaces[0].center(), QPoint(300, 40));

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
    EXPECT_THAT(chosen, ElementsAre("a"));

    // It changes while it is on the screen: the desktop is told once, and a click means what was seen.
    menu = {entry("stop", "Stop"),
            {.key = "volume", .label = "Volume: 40%", .isEnabled = false},
            entry("quit", "Quit Velto")};
    shell->takeSignals();
    item->menuChanged();
    item->menuChanged();
    EXPECT_THAT(shell->takeSignals(), ElementsAre("LayoutUpdated"));
    chosen.clear();
    const auto click = [&](int id) {
        return shell->callMenu("Event", {id, "clicked", QVariant::fromValue(QDBusVariant(0)), 0U});
    };
    EXPECT_NE(click(1).errorMessage().toStdString(), "") << "there is nothing to play any more";
    click(4);
    EXPECT_THAT(chosen, ElementsAre("quit"));
    EXPECT_TRUE(shell->choose("Volume: 40%")) << "it is there";
    EXPECT_TRUE(shell->choose("Stop"));
    EXPECT_THAT(chosen, ElementsAre("quit", "stop")) << "but not to be chosen";
}

} // namespace
} // namespace velto
