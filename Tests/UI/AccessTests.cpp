// Everybody can use it: by keyboard, with a screen reader, with tired eyes.
#include "Tests/UI/WindowTest.h"

#include <QQmlComponent>

#include <cmath>

namespace velto {

namespace {

using testing::IsEmpty;
using testing::IsSupersetOf;

class AccessTests : public WindowTest {
  protected:
    /// Where Tab leads, until it is back where it has been.
    static std::vector<std::string> tabOrder(Page page) {
        std::vector<std::string> visited;
        for (;;) {
            page.key(Qt::Key_Tab);
            const QQuickItem* item = page.window().activeFocusItem();
            EXPECT_TRUE(
                QRectF(QPointF(), page.window().size()).contains(item->mapRectToScene(item->boundingRect())))
                << page.focused().toStdString() << " is out of sight";
            const std::string name = page.focused().toStdString();
            if (std::ranges::find(visited, name) != visited.end()) return visited;
            visited.push_back(name);
        }
    }
    static std::vector<std::string> enabledControls(const Page& page) {
        std::vector<std::string> names;
        for (const Control& control : page.controls())
            if (control.isOperable() && control.isEnabled) names.push_back(control.name.toStdString());
        return names;
    }
    static std::vector<std::string> faults(const Page& page) {
        std::vector<std::string> found;
        for (const Control& control : page.controls()) {
            const std::string name = control.name.toStdString();
            if (name.empty()) found.push_back("no name: a control of role " + std::to_string(control.role));
            if (control.role == QAccessible::NoRole || control.role == QAccessible::Client)
                found.push_back("no role: " + name);
            if (control.role == QAccessible::Slider && !(control.value >= 0 && control.value <= 1))
                found.push_back("no value: " + name);
            if (control.isOperable() && std::min(control.place.width(), control.place.height()) < 28)
                found.push_back("hard to hit: " + name);
        }
        for (const QQuickItem* label : page.labels())
            if (label->property("textFormat").toInt() != Qt::PlainText)
                found.push_back("may be markup: " + label->property("text").toString().toStdString());
        return found;
    }
};

TEST_F(AccessTests, tabReachesEveryControlAndTheTreeIsComplete) {
    launch();
    world().rename("flip", "<b>Flip</b> & co");
    actor.runUntilIdle();
    savedPreset("<i>Evening</i>", "airpods", "flip");
    const auto check = [](Page page) {
        EXPECT_THAT(tabOrder(page), IsSupersetOf(enabledControls(page)));
        EXPECT_THAT(faults(page), IsEmpty());
    };
    check(panel());
    preferences().disconnectBehavior.set(DisconnectBehavior::askUser);
    play("airpods", "flip");
    check(panel());
    EXPECT_TRUE(panel().shows("<b>Flip</b> & co"));
    panel().click("Save current setup");
    check(panel());
    panel().click("Save current setup");
    unplug("airpods");
    check(panel());
    check(benchPage());

    panel().click("Settings");
    for (const char* tab : {"General", "Audio", "Sync", "Advanced", "About"}) {
        SCOPED_TRACE(tab);
        settings().click(tab);
        check(settings());
    }
    settings().key(Qt::Key_Escape);
    EXPECT_EQ(windows->settingsWindow(), nullptr);
}

TEST_F(AccessTests, thePanelOpensWithTheKeyboardOnWhatIsToBeDoneNext) {
    launch();
    preferences().disconnectBehavior.set(DisconnectBehavior::askUser);
    const auto rings = [&] {
        const auto all = panel().window().findChildren<QQuickItem*>();
        return std::ranges::count_if(all, [](const QQuickItem* item) {
            return item->isVisible() && QByteArray(item->metaObject()->className()).startsWith("FocusRing");
        });
    };
    const auto expectHome = [&](const char* name) {
        for (const char* usedLast : {"Quit Velto", "Settings"}) {
            panel().tabTo(usedLast);
            EXPECT_EQ(rings(), 1);
            dropPanel();
            EXPECT_EQ(panel().focused(), name);
            EXPECT_EQ(rings(), 0) << "it was opened by mouse";
        }
    };
    dropPanel();
    expectHome("First output");
    menuBar().choose(MenuBarViewModel::Slot::first, "airpods");
    settle();
    expectHome("Second output");
    choose("airpods", "flip");
    expectHome("Play Together");
    panel().key(Qt::Key_Space);
    actor.runUntilIdle();
    settle();
    EXPECT_EQ(panel().focused(), "Stop");
    EXPECT_EQ(rings(), 1);
    unplug("flip");
    EXPECT_EQ(panel().focused(), "Keep playing on remaining outputs") << "what had the keyboard is hidden";
    expectHome("Keep playing on remaining outputs");
    panel().key(Qt::Key_Space);
    actor.runUntilIdle();
    settle();
    EXPECT_TRUE(menuBar().isPlaying());
    EXPECT_EQ(panel().focused(), "Stop");
    panel().tabTo("Volume of AirPods Pro");
    menuBar().stop();
    actor.runUntilIdle();
    settle();
    EXPECT_THAT(panel().names(), testing::Contains(panel().focused())) << "it is seen";
}

TEST_F(AccessTests, listsAndMenusAreCompleteToo) {
    launch();
    savedPreset("Evening", "airpods", "flip");
    for (const char* opener : {"First output", "More for Evening"}) {
        panel().click(opener);
        EXPECT_THAT(faults(panel()), IsEmpty());
        panel().key(Qt::Key_Escape);
    }
}

TEST_F(AccessTests, allTextIsReadableOnItsGround) {
    launch();
    QQmlComponent component(&windows->engine());
    component.setData("import QtQml\nimport Velto\nQtObject { property QtObject theme: Theme }", {});
    const std::unique_ptr<QObject> holder(component.create());
    ASSERT_TRUE(holder) << component.errorString().toStdString();
    auto* theme = holder->property("theme").value<QObject*>();
    const auto color = [&](const char* name) { return theme->property(name).value<QColor>(); };
    const auto over = [](const QColor& top, const QColor& ground) {
        const auto mix = [&](int one, int other) {
            return static_cast<int>(std::lround(one * top.alphaF() + other * (1 - top.alphaF())));
        };
        return QColor(mix(top.red(), ground.red()), mix(top.green(), ground.green()),
                      mix(top.blue(), ground.blue()));
    };
    for (const bool isDark : {false, true}) {
        setDark(isDark);
        std::map<std::string, QColor> surfaces;
        for (const QColor& behind : {QColor(Qt::black), QColor(Qt::white)})
            for (const char* window : {"windowTop", "windowBottom"})
                surfaces[window + behind.name().toStdString()] = over(color(window), behind);
        surfaces["window"] = color("windowOpaque");
        for (const auto& [name, ground] : std::map(surfaces)) {
            surfaces["card on " + name] = over(color("card"), ground);
            for (const char* layer : {"hover", "pressed", "control", "warnGround", "badGround"})
                surfaces[layer + (" on " + name)] = over(color(layer), ground);
            for (const char* layer : {"badge", "warnGround", "disc"})
                surfaces[layer + (" on a card on " + name)] = over(color(layer), over(color("card"), ground));
        }
        surfaces["popup"] = color("popup");
        const auto expectReadable = [&](const char* ink, std::string_view on) {
            for (const auto& [name, ground] : surfaces)
                if (name.starts_with(on))
                    EXPECT_GE(Appearance::contrast(color(ink), ground), 4.5)
                        << ink << " on " << name << (isDark ? ", dark" : ", light");
        };
        const auto expectSeen = [&](const char* ink, std::string_view on) {
            for (const auto& [name, ground] : surfaces)
                if (name.starts_with(on))
                    EXPECT_GE(Appearance::contrast(over(color(ink), ground), ground), 3)
                        << ink << " on " << name << (isDark ? ", dark" : ", light");
        };
        for (const char* on : {"window", "card", "control", "popup"})
            expectSeen("fieldEdge", on);
        for (const char* ink : {"faint", "star"})
            for (const char* on : {"window", "card", "disc", "hover"})
                expectSeen(ink, on);
        expectReadable("label", "");
        for (const char* on :
             {"window", "card", "hover", "pressed", "control", "badGround", "badge", "popup"})
            expectReadable("secondary", on);
        for (const char* on : {"card", "warnGround on a card"})
            expectReadable("warn", on);
        expectReadable("bad", "popup");
        expectReadable("good", "card");
        for (const char* accent :
             {"#2f6be8", "#ffcc00", "#ffffff", "#000000", "#808080", "#34c759", "#ff2d55"}) {
            windows->appearance().overrule(
                {.isDark = isDark, .accent = QColor(accent), .reducesMotion = true, .isComposited = true});
            SCOPED_TRACE(accent);
            EXPECT_GE(Appearance::contrast(color("accentText"), color("accent")), 4.5);
            for (const char* on : {"window", "card", "badge"})
                expectReadable("accentInk", on);
        }
    }
}

} // namespace

} // namespace velto
