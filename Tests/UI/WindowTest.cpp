#include "Tests/UI/WindowTest.h"

#include "Tests/UI/ServerRoundTrip.h"

#include <QEvent>
#include <QGuiApplication>

#include <stdexcept>
#include <utility>

namespace velto {

namespace {

void failOnWarning(QtMsgType type, const QMessageLogContext&, const QString& message) {
    if (type == QtDebugMsg || type == QtInfoMsg) return;
    ADD_FAILURE() << "Qt warns: " << message.toStdString();
}

} // namespace

/// Counts what shows that a window is still at work.
class WindowTest::Watcher final : public QObject {
  public:
    Watcher() { qApp->installEventFilter(this); }
    bool eventFilter(QObject* object, QEvent* event) override {
        switch (event->type()) {
        case QEvent::UpdateRequest:
        case QEvent::Expose:
        case QEvent::Resize:
        case QEvent::WindowActivate:
            if (object->isWindowType()) ++count;
            return false;
        default:
            return false;
        }
    }
    int count = 0;
};

WindowTest::WindowTest() : watcher_(std::make_unique<Watcher>()) {
    qInstallMessageHandler(failOnWarning);
    QAccessible::setActive(true);
    computer.plugUsualDevices();
}

WindowTest::~WindowTest() {
    if (application) {
        quit();
        EXPECT_THAT(world().listeners(), testing::IsEmpty());
        EXPECT_TRUE(world().aggregates().empty());
    }
    benchWindow.reset();
    application.reset();
    delegate.reset();
    actor.runUntilIdle();
    qInstallMessageHandler(nullptr);
}

void WindowTest::launch() {
    computer.defaults().set("hasCompletedOnboarding", true);
    launchForTheFirstTime();
}

void WindowTest::launchForTheFirstTime() {
    delegate = std::make_unique<AppDelegate>(computer.platform());
    application = std::make_unique<LinuxApplication>(
        *delegate, computer.host(),
        [this](UserInterface::Context context) {
            auto made = std::make_unique<QuickUserInterface>(std::move(context));
            made->appearance().overrule({.isDark = false,
                                         .accent = QColor(0x2f, 0x6b, 0xe8),
                                         .reducesMotion = true,
                                         .isComposited = true});
            windows = made.get();
            return made;
        },
        [this](const auto& condition) {
            actor.runUntilIdle();
            return condition();
        });
    delegate->applicationDidFinishLaunching();
    application->start();
    actor.runUntilIdle(); // where no status area appears, the panel does
    settle();
}

void WindowTest::dropPanel() {
    panel().window().hide();
    settle(); // that it is not active any more must not be told of the panel that is shown next
    windows->setPanelStyle(UserInterface::PanelStyle::dropDown);
    windows->showPanel({});
    settle();
}

void WindowTest::quit() {
    application->requestQuit();
    actor.runUntilIdle();
    settle();
}

Page WindowTest::page(QQuickWindow* window, std::string_view what) {
    if (!window || !window->isVisible()) throw std::runtime_error(std::string(what) + " is not open");
    if (!window->isActive()) {
        window->requestActivate(); // as by a click on its title
        settle();
    }
    return {*window, [this] { settle(); }};
}

Page WindowTest::panel() { return page(windows->panel(), "The panel"); }
Page WindowTest::settings() { return page(windows->settingsWindow(), "The settings window"); }
Page WindowTest::welcome() { return page(windows->onboardingWindow(), "The welcome window"); }

Page WindowTest::benchPage() {
    if (!benchWindow) {
        benchWindow = windows->make(QStringLiteral("Bench/DeviceBenchWindow"),
                                    {{"bench", QVariant::fromValue(&benchAdapter)}});
        benchWindow->show();
        settle();
    }
    return page(benchWindow.get(), "The bench");
}

void WindowTest::settle() {
    constexpr int limit = 1000;
    for (int quietTurns = 0, turn = 0; quietTurns < 2; ++turn) {
        if (turn == limit) {
            ADD_FAILURE() << "The windows don't come to rest";
            return;
        }
        const int count = watcher_->count;
        const bool wasReady = actor.isReady();
        actor.runReady();
        awaitServer(); // what it has to say of all that is in the queue then
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        quietTurns = wasReady || watcher_->count != count ? 0 : quietTurns + 1;
    }
}

void WindowTest::advance(Duration interval) {
    actor.advance(interval);
    settle();
}

void WindowTest::unplug(std::string_view uid) {
    world().unplug(uid);
    actor.runUntilIdle();
    settle();
}

void WindowTest::replug(std::string_view uid) {
    world().replug(uid);
    actor.runUntilIdle();
    settle();
}

void WindowTest::choose(std::string_view first, std::string_view second) {
    menuBar().choose(MenuBarViewModel::Slot::first, std::string(first));
    menuBar().choose(MenuBarViewModel::Slot::second, std::string(second));
    settle();
}

void WindowTest::play(std::string_view first, std::string_view second) {
    choose(first, second);
    menuBar().play();
    actor.runUntilIdle();
    settle();
}

void WindowTest::setDark(bool isDark) {
    windows->appearance().overrule(
        {.isDark = isDark, .accent = QColor(0x2f, 0x6b, 0xe8), .reducesMotion = true, .isComposited = true});
    settle();
}

AudioPreset WindowTest::savedPreset(std::string name, std::string_view first, std::string_view second) {
    const auto device = [this](std::string_view uid) {
        return state().deviceManager().device(uid).value_or(AudioOutputDevice::disconnected(
            std::string(uid), std::string(uid), AudioTransportType::Kind::usb));
    };
    const AudioPreset preset =
        AudioPreset::create(std::move(name), device(first), device(second), actor.now());
    preferences().savePreset(preset);
    settle();
    return preset;
}

} // namespace velto
