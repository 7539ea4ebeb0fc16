#include "Velto/Qt/VeltoApplication.h"

#include "Velto/Qt/Text.h"
#include "VeltoCore/Services/LoggingService.h"

#include <chrono>
#include <stdexcept>
#include <utility>

namespace velto {

namespace {

/// How long a desktop that has just started may take until it has a status area.
constexpr std::chrono::seconds statusAreaDelay{4};
/// What one notch of the wheel over the status item changes the volume by.
constexpr double volumePerNotch = 0.04;

} // namespace

VeltoApplication::VeltoApplication(AppDelegate& delegate, UserInterfaceFactory makeUserInterface)
    : delegate_(delegate), statusItemModel_(delegate.appState().menuBar()),
      makeUserInterface_(std::move(makeUserInterface)) {}

VeltoApplication::~VeltoApplication() {
    stopWaitingForStatusArea();
    delegate_.appState().notifications().setOpenHandler({});
    delegate_.withdrawWindows();
}

void VeltoApplication::start(bool isHidden) {
    isHidden_ = isHidden;
    delegate_.appState().notifications().setOpenHandler([this] { raise(); });
    statusSubscription_ = delegate_.appState().menuBar().observe([this] { updateStatusItem(); });
    if (!isHidden_) offerWindows();
    statusArea_ = makeStatusArea([this] { followStatusArea(); });
    makeStatusItem();
    if (statusItem_) return;
    statusAreaTimer_ = delegate_.appState().actor().postAfter(statusAreaDelay, [this] {
        statusAreaTimer_.reset();
        if (!statusItem_) withoutStatusItem();
    });
}

/// At login the status area may come later than the program, and it goes for a while when the desktop's shell
/// is started again or the screen is locked: then no window is opened, but the panel can be had as one.
void VeltoApplication::followStatusArea() {
    makeStatusItem();
    if (!statusItem_) LoggingService::ui.notice("The status area has gone; the panel is a window");
}

void VeltoApplication::makeStatusItem() {
    statusItem_.reset(); // before another one: the old one's tray may be gone
    statusItem_ = statusArea_->makeStatusItem(statusItemHandlers());
    if (statusItem_) stopWaitingForStatusArea();
    updateStatusItem();
    applyPanelStyle();
    if (statusItem_ && isToRaise_) raise();
}

void VeltoApplication::stopWaitingForStatusArea() {
    if (statusAreaTimer_) delegate_.appState().actor().cancelTimer(*statusAreaTimer_);
    statusAreaTimer_.reset();
}

StatusItem::Handlers VeltoApplication::statusItemHandlers() {
    return {.activated =
                [this](const QRect& place) {
                    const QRect known = place.isValid() || !statusItem_ ? place : statusItem_->place();
                    withWindows([&](UserInterface& windows) { windows.togglePanel(known); });
                },
            .scrolled = [this](double notches) { scroll(notches); },
            .menu = [this] { return statusItemMenu(); },
            .menuWanted =
                [this](const QRect& place) {
                    withWindows([&](UserInterface& windows) { windows.showMenu(statusItemMenu(), place); });
                },
            .quitChosen = [this] { requestQuit(); }};
}

std::vector<StatusMenuEntry> VeltoApplication::statusItemMenu() {
    return statusItemModel_.menu(
        {.open = [this] { raise(); },
         .showSettings = [this] { withWindows([](UserInterface& windows) { windows.showSettings(); }); },
         .quit = [this] { requestQuit(); }});
}

void VeltoApplication::scroll(double notches) {
    MenuBarViewModel& menuBar = delegate_.appState().menuBar();
    if (!menuBar.hasMasterVolume()) return;
    menuBar.adjustMasterVolume(static_cast<float>(notches * volumePerNotch));
    volumeWasSet(menuBar.masterVolume());
}

void VeltoApplication::offerWindows() {
    delegate_.offerWindows([this](std::function<void()> closedHandler) {
        std::unique_ptr<OnboardingWindow> window;
        withWindows(
            [&](UserInterface& windows) { window = windows.makeOnboardingWindow(std::move(closedHandler)); });
        return window;
    });
}

void VeltoApplication::withoutStatusItem() {
    LoggingService::ui.notice("This desktop has no status area; the panel is a window");
    applyPanelStyle();
    if ((!isHidden_ || isToRaise_) && !delegate_.isShuttingDown()) raise();
}

void VeltoApplication::updateStatusItem() {
    if (!statusItem_) return;
    statusItem_->setLook({.form = statusItemModel_.form(),
                          .accessibilityText = toQString(statusItemModel_.accessibilityText()),
                          .toolTip = toQString(statusItemModel_.toolTip())});
    statusItem_->menuChanged();
}

UserInterface::PanelStyle VeltoApplication::panelStyle() const {
    return statusItem_ && dropsPanel() ? UserInterface::PanelStyle::dropDown
                                       : UserInterface::PanelStyle::window;
}

void VeltoApplication::applyPanelStyle() {
    if (userInterface_) userInterface_->setPanelStyle(panelStyle());
}

UserInterface& VeltoApplication::userInterface() {
    if (!userInterface_) {
        userInterface_ = makeUserInterface_({delegate_.appState(), [this] { requestQuit(); }});
        userInterface_->setPanelStyle(panelStyle());
    }
    return *userInterface_;
}

/// Windows that can't be had are no reason to end: what plays goes on.
void VeltoApplication::withWindows(const std::function<void(UserInterface&)>& action) {
    try {
        action(userInterface());
    } catch (const std::runtime_error& error) {
        LoggingService::ui.error("{}", publicText(error.what()));
        delegate_.appState().notifications().tellMissingWindows(error.what());
    }
}

void VeltoApplication::raise() {
    if (!statusArea_) start(true); // it ran without windows
    isToRaise_ = false;
    if (std::exchange(isHidden_, false)) offerWindows();
    withWindows(
        [this](UserInterface& windows) { windows.showPanel(statusItem_ ? statusItem_->place() : QRect()); });
}

void VeltoApplication::raiseOncePlaced() {
    isToRaise_ = true;
    if (statusItem_) raise();
}

} // namespace velto
