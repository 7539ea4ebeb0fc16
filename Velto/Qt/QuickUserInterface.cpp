#include "Velto/Qt/QuickUserInterface.h"

#include "Velto/Qt/SymbolImageProvider.h"
#include "Velto/Qt/Text.h"
#include "Velto/Shell/OnboardingWindowController.h"
#include "VeltoCore/Services/LoggingService.h"

#include <QFont>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QPointer>
#include <QQmlComponent>
#include <QQmlContext>
#include <QScreen>
#include <QTimer>
#include <QUrl>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace velto {

namespace {

constexpr int screenMargin = 40;  // what windows leave of a screen's height, in pixels
constexpr int gap = 6;            // between the status item and the panel, in pixels
constexpr qint64 sameClick = 300; // milliseconds

/// The welcome window, as the plain half of the program sees it. The window itself goes with the interface.
class QuickOnboardingWindow final : public OnboardingWindow {
  public:
    QuickOnboardingWindow(QQuickWindow* window, std::function<void()> closedHandler)
        : window_(window), closedHandler_(std::move(closedHandler)) {
        closing_ = QObject::connect(window, &QQuickWindow::visibleChanged, window, [this](bool isVisible) {
            if (!isVisible) closedHandler_();
        });
    }
    ~QuickOnboardingWindow() override {
        QObject::disconnect(closing_);
        if (window_) window_->close();
    }

    void show() override {
        if (!window_) return;
        const QRect area = window_->screen()->availableGeometry();
        if (!window_->isVisible())
            window_->setPosition(area.center() - QPoint(window_->width() / 2, window_->height() / 2));
        window_->show();
        window_->raise();
        window_->requestActivate();
    }
    void close() override {
        if (window_) window_->close();
    }

  private:
    QPointer<QQuickWindow> window_;
    std::function<void()> closedHandler_;
    QMetaObject::Connection closing_;
};

} // namespace

QuickUserInterface::QuickUserInterface(Context context)
    : context_(std::move(context)), inStep_(context_.app.inStep()), menuBar_(context_.app.menuBar(), inStep_),
      presets_(context_.app.presets()) {
    engine_.addImageProvider(QStringLiteral("symbol"), new SymbolImageProvider);
    engine_.addImportPath(QStringLiteral("qrc:/velto"));
    engine_.rootContext()->setContextProperty(QStringLiteral("appearance"), &appearance_);
    engine_.rootContext()->setContextProperty(QStringLiteral("keyboard"), &keyboard_);
    engine_.rootContext()->setContextProperty(QStringLiteral("screenReader"), &screenReader_);
    connect(&appearance_, &Appearance::changed, this, &QuickUserInterface::dressFrames);
}

QuickUserInterface::~QuickUserInterface() {
    if (panel_) panel_->disconnect(this);
    if (menu_) menu_->disconnect(this);
    context_.app.notifications().setIsPanelOpen(false);
    if (settingsWindow_) settingsWindow_->disconnect(this);
    if (onboardingWindow_) onboardingWindow_->disconnect(); // to close it now is not the user's doing
}

/// Once, for it takes long: what the first text of a window needs of the system's fonts.
void QuickUserInterface::readyFonts() {
    if (std::exchange(hasFonts_, true)) return;
    QFont font(appearance_.fontFamily());
    font.setPixelSize(13);
    for (const QFont::Weight weight : {QFont::Normal, QFont::Medium}) {
        font.setWeight(weight);
        static_cast<void>(QFontMetricsF(font).horizontalAdvance(u'V'));
    }
}

std::unique_ptr<QQuickWindow> QuickUserInterface::make(const QString& view, const QVariantMap& properties) {
    const QUrl file(QStringLiteral("qrc:/velto/Velto/%1.qml").arg(view));
    // Qt reads the view on a thread of its own, and the second component waits for what the first has begun.
    const QQmlComponent begun(&engine_, file, QQmlComponent::Asynchronous);
    readyFonts();
    QQmlComponent component(&engine_, file);
    ScreenReader::completeAnswers(); // Qt has installed its own when it loaded the view's imports
    // Qt 6.4 crashes when it is asked for one of a view that it couldn't load.
    QObject* object = component.isReady() ? component.createWithInitialProperties(properties) : nullptr;
    auto* window = qobject_cast<QQuickWindow*>(object);
    if (!window) {
        delete object;
        throw std::runtime_error("The window could not be made: " + component.errorString().toStdString());
    }
    QQmlEngine::setObjectOwnership(window, QQmlEngine::CppOwnership);
    keyboard_.follow(*window);
    return std::unique_ptr<QQuickWindow>(window);
}

void QuickUserInterface::setPanelStyle(PanelStyle style) {
    panelStyle_ = style;
    if (panel_) panel_->setProperty("isOrdinary", style == PanelStyle::window);
    if (onboardingWindow_) onboardingWindow_->setProperty("message", welcomeMessage());
    dressFrames();
}

void QuickUserInterface::makePanel() {
    panel_ = make(QStringLiteral("PanelWindow"), {{"model", QVariant::fromValue(&menuBar_)},
                                                  {"presets", QVariant::fromValue(&presets_)},
                                                  {"isOrdinary", panelStyle_ == PanelStyle::window}});
    const auto noteWhetherOpen = [this] {
        const bool isInFront = panelStyle_ == PanelStyle::dropDown || panel_->isActive();
        context_.app.notifications().setIsPanelOpen(panel_->isVisible() && isInFront);
    };
    connect(panel_.get(), &QQuickWindow::visibleChanged, this, noteWhetherOpen);
    connect(panel_.get(), &QQuickWindow::activeChanged, this, noteWhetherOpen);
    connect(panel_.get(), SIGNAL(dismissed()), this, SLOT(hidePanel()));
    connect(panel_.get(), SIGNAL(settingsRequested()), this, SLOT(openSettings()));
    connect(panel_.get(), SIGNAL(quitRequested()), this, SLOT(requestQuit()));
    // One that hangs from a bar at the bottom grows and shrinks at its upper edge.
    connect(panel_.get(), &QQuickWindow::heightChanged, this, [this] {
        if (!panel_->isVisible()) return;
        if (panelStyle_ == PanelStyle::dropDown) {
            placePanel();
        } else {
            keepPanelOnScreen();
        }
    });
    dressFrames();
}

void QuickUserInterface::hidePanel() {
    context_.app.presets().panelClosed();
    context_.app.menuBar().setIsChoosingOutputs(false); // else the status item's menu would switch unseen
    panel_->hide();
    clicksOutside_.reset();
    sinceHidden_.start();
    QTimer::singleShot(0, this, &QuickUserInterface::yieldActivation);
}

/// A turn later than a window is hidden: another may be shown in its place.
void QuickUserInterface::yieldActivation() {
    for (const auto* window : {panel_.get(), settingsWindow_.get(), onboardingWindow_.get()})
        if (window && window->isVisible()) return;
    context_.app.host().yieldActivation();
}

void QuickUserInterface::showPanel(const QRect& statusItem) {
    if (!panel_) makePanel();
    panel_->setProperty("longestHeight", longestHeight(screenOf(statusItem)));
    if (!panel_->isVisible()) keyboard_.beginIn(*panel_);
    if (!panel_->isVisible() && panelStyle_ == PanelStyle::dropDown) {
        placeOfItem_ = statusItem;
        placePanel();
    }
    panel_->setWindowStates(panel_->windowStates() & ~Qt::WindowMinimized);
    if (panelStyle_ == PanelStyle::dropDown) {
        appearance_.desktop().dressPanel(*panel_, panel_->property("cornerRadius").toInt());
        clicksOutside_ = appearance_.desktop().observeClicksOutside(
            [this] { QTimer::singleShot(0, this, &QuickUserInterface::hidePanel); });
    }
    activateProgram();
    panel_->show();
    const bool isBehindWelcome =
        panelStyle_ == PanelStyle::window && onboardingWindow_ && onboardingWindow_->isVisible();
    QQuickWindow& front = isBehindWelcome ? *onboardingWindow_ : *panel_;
    front.raise();
    front.requestActivate();
}

void QuickUserInterface::togglePanel(const QRect& statusItem) {
    // An ordinary window may be minimised, or behind others: then it is wanted.
    const bool isInFront =
        panel_ && panel_->isVisible() && (panelStyle_ == PanelStyle::dropDown || panel_->isActive());
    if (isInFront) {
        hidePanel();
    } else if (!sinceHidden_.isValid() || sinceHidden_.elapsed() > sameClick) {
        showPanel(statusItem);
    }
}

QScreen& QuickUserInterface::screenOf(const QRect& statusItem) {
    QScreen* screen = statusItem.isValid() ? QGuiApplication::screenAt(statusItem.center()) : nullptr;
    return screen ? *screen : *QGuiApplication::primaryScreen();
}

/// Windows with more in them scroll.
int QuickUserInterface::longestHeight(const QScreen& screen) {
    return screen.availableGeometry().height() - screenMargin;
}

/// At the item, or, while nobody has told where that is, at the edge where the desktop's bar takes its space.
void QuickUserInterface::place(QQuickWindow& window, const QRect& item) {
    const QScreen& screen = screenOf(item);
    const QRect all = screen.geometry();
    const QRect area = screen.availableGeometry();
    const QSize size = window.size();
    QPoint corner(area.left() - all.left() > all.right() - area.right() ? area.left() : area.right(),
                  all.bottom() - area.bottom() > area.top() - all.top() ? area.bottom() : area.top());
    if (item.isValid()) {
        const bool isAtTop = item.center().y() < all.center().y();
        corner = {item.center().x() - size.width() / 2,
                  isAtTop ? item.bottom() + gap : item.top() - gap - size.height()};
    }
    const auto within = [](int position, int from, int to) { return std::max(from, std::min(position, to)); };
    window.setPosition(within(corner.x(), area.left() + gap, area.right() - size.width() - gap),
                       within(corner.y(), area.top() + gap, area.bottom() - size.height() - gap));
}

void QuickUserInterface::placePanel() { place(*panel_, placeOfItem_); }

/// An ordinary window grows at its lower edge, and not every desktop sees to it that it can be reached.
void QuickUserInterface::keepPanelOnScreen() {
    const QRect area = panel_->screen()->availableGeometry();
    const QRect frame = panel_->frameGeometry();
    const int beyond = std::min(frame.bottom() - area.bottom(), frame.top() - area.top());
    if (beyond > 0) panel_->setY(panel_->y() - beyond);
}

void QuickUserInterface::showMenu(std::vector<StatusMenuEntry> entries, const QRect& statusItem) {
    hideMenu();
    QVariantList shown;
    for (const StatusMenuEntry& entry : entries)
        shown.append(QVariantMap{{"label", toQString(entry.label)},
                                 {"isEnabled", entry.isEnabled},
                                 {"isCheckable", entry.isChecked.has_value()},
                                 {"isChecked", entry.isChecked.value_or(false)}});
    menuEntries_ = std::move(entries);
    menu_ = make(QStringLiteral("StatusItemMenuWindow"), {{"entries", shown}});
    connect(menu_.get(), SIGNAL(dismissed()), this, SLOT(hideMenu()));
    connect(menu_.get(), SIGNAL(chosen(int)), this, SLOT(chooseInMenu(int)));
    place(*menu_, statusItem);
    appearance_.desktop().dressPanel(*menu_, 0);
    menu_->show();
    menu_->raise();
    menu_->requestActivate();
}

void QuickUserInterface::hideMenu() {
    if (!menu_) return;
    menu_->disconnect(this);
    menu_->hide();
    menu_.release()->deleteLater(); // it may be in the middle of saying so
}

void QuickUserInterface::chooseInMenu(int index) {
    hideMenu();
    const auto entries = std::exchange(menuEntries_, {});
    entries.at(static_cast<std::size_t>(index)).chosen();
}

void QuickUserInterface::dressFrames() {
    for (QQuickWindow* window : {panel_.get(), settingsWindow_.get(), onboardingWindow_.get()})
        if (window) appearance_.desktop().dressFrame(*window, appearance_.isDark());
}

QString QuickUserInterface::welcomeMessage() const {
    return toQString(panelStyle_ == PanelStyle::window
                         ? OnboardingWindowController::messageWithoutStatusItem()
                         : OnboardingWindowController::message(context_.app.host().words()));
}

/// Without it, a program that is no more than a status item would open its windows behind those of others.
void QuickUserInterface::activateProgram() { context_.app.host().activateIgnoringOtherApplications(); }

void QuickUserInterface::showSettings() {
    if (panel_ && panelStyle_ == PanelStyle::dropDown) hidePanel();
    if (!settingsWindow_) {
        context_.app.settings().refreshLaunchAtLogin();
        context_.app.settings().inquireShortcuts();
        const QScreen& screen = panel_ ? *panel_->screen() : *QGuiApplication::primaryScreen();
        settings_ =
            std::make_unique<SettingsAdapter>(context_.app.settings(), inStep_, context_.app.aligning());
        settingsWindow_ =
            make(QStringLiteral("SettingsWindow"), {{"model", QVariant::fromValue(settings_.get())},
                                                    {"longestHeight", longestHeight(screen)},
                                                    {"longestWidth", screen.availableGeometry().width()}});
        dressFrames();
        connect(settingsWindow_.get(), &QQuickWindow::visibleChanged, this, [this](bool isVisible) {
            if (isVisible) return;
            settingsWindow_.release()->deleteLater(); // it is in the middle of closing
            settings_.release()->deleteLater();
            QTimer::singleShot(0, this, &QuickUserInterface::yieldActivation);
        });
    }
    activateProgram();
    settingsWindow_->show();
    settingsWindow_->raise();
    settingsWindow_->requestActivate();
}

/// From within a view, where nothing may be thrown.
void QuickUserInterface::openSettings() {
    try {
        showSettings();
    } catch (const std::runtime_error& error) {
        LoggingService::ui.error("{}", publicText(error.what()));
    }
}

std::unique_ptr<OnboardingWindow>
QuickUserInterface::makeOnboardingWindow(std::function<void()> closedHandler) {
    const QScreen& screen = *QGuiApplication::primaryScreen();
    onboardingWindow_ = make(QStringLiteral("OnboardingWindow"),
                             {{"title", toQString(OnboardingWindowController::title)},
                              {"message", welcomeMessage()},
                              {"buttonTitle", toQString(OnboardingWindowController::buttonTitle)},
                              {"longestHeight", longestHeight(screen)},
                              {"longestWidth", screen.availableGeometry().width()}});
    appearance_.desktop().dressWelcomeWindow(*onboardingWindow_);
    dressFrames();
    connect(onboardingWindow_.get(), &QQuickWindow::visibleChanged, this, [this](bool isVisible) {
        if (!isVisible) QTimer::singleShot(0, this, &QuickUserInterface::yieldActivation);
    });
    return std::make_unique<QuickOnboardingWindow>(onboardingWindow_.get(), std::move(closedHandler));
}

} // namespace velto
