#include "Velto/Qt/VeltoApplication.h"

#include "Velto/Qt/Text.h"
#include "VeltoCore/Services/LoggingService.h"

#include <QCoreApplication>

#include <chrono>
#include <stdexcept>
#include <utility>

namespace velto {

namespace {

/// How long a desktop that has just started may take until it has a status area.
constexpr std::chrono::seconds statusAreaDelay{4};
/// What one notch of the wheel over the status item changes the volume by.
constexpr double volumePerNotch = 0.04;
/// How often the end asks whether all is done.
constexpr std::chrono::milliseconds operationPoll{10};

} // namespace

VeltoApplication::VeltoApplication(PlatformServices platform, QtApplicationHost& host,
                                   UserInterfaceFactory makeUserInterface)
    : makeUserInterface_(std::move(makeUserInterface)), host_(host),
      delegate_(std::move(platform), [this](std::function<void()> closedHandler) {
          std::unique_ptr<OnboardingWindow> window;
          withWindows([&](UserInterface& windows) {
              window = windows.makeOnboardingWindow(std::move(closedHandler));
          });
          return window;
      }) {
    host_.setHandlers({.policyChanged =
                           [this](ApplicationHost::ActivationPolicy policy) {
                               policy_ = policy;
                               applyPanelStyle();
                           },
                       .activate = {},
                       .terminate =
                           [this] {
                               isTerminated_ = true;
                               QCoreApplication::quit();
                           }});
}

VeltoApplication::~VeltoApplication() {
    if (statusAreaTimer_) delegate_.appState().actor().cancelTimer(*statusAreaTimer_);
    host_.setHandlers({});
}

void VeltoApplication::start() {
    statusSubscription_ = delegate_.appState().menuBar().observe([this] { updateStatusItem(); });
    delegate_.applicationDidFinishLaunching();
    statusArea_.emplace([this] { followStatusArea(); });
    followStatusArea();
    if (statusItem_) return;
    statusAreaTimer_ = delegate_.appState().actor().postAfter(statusAreaDelay, [this] {
        statusAreaTimer_.reset();
        if (!statusItem_) withoutStatusItem();
    });
}

/// At login the status area may come later than the program, and it goes for a while when the desktop's shell
/// is started again or the screen is locked: then no window is opened, but the panel can be had as one.
void VeltoApplication::followStatusArea() {
    const StatusArea::Kind kind = statusArea_->kind();
    const std::uint32_t tray = statusArea_->trayWindow();
    const bool isSameTray = std::exchange(statusItemTray_, tray) == tray;
    if (std::exchange(statusItemKind_, kind) == kind && isSameTray) return;
    statusItem_.reset(); // before another one: the old one's tray may be gone
    statusItem_ = makeStatusItem(kind, statusItemHandlers());
    if (!statusItem_) LoggingService::ui.notice("The status area has gone; the panel is a window");
    updateStatusItem();
    applyPanelStyle();
}

StatusItem::Handlers VeltoApplication::statusItemHandlers() {
    return {.activated =
                [this](const QRect& place) {
                    withWindows([&](UserInterface& windows) { windows.togglePanel(place); });
                },
            .scrolled =
                [this](double notches) {
                    delegate_.appState().menuBar().adjustMasterVolume(
                        static_cast<float>(notches * volumePerNotch));
                },
            .settingsChosen = [this] { withWindows([](UserInterface& windows) { windows.showSettings(); }); },
            .quitChosen = [this] { requestQuit(); }};
}

void VeltoApplication::withoutStatusItem() {
    LoggingService::ui.notice("This desktop has no status area; the panel is a window");
    applyPanelStyle();
    if (!delegate_.isShuttingDown()) raise();
}

void VeltoApplication::updateStatusItem() {
    if (!statusItem_) return;
    const MenuBarViewModel& menuBar = delegate_.appState().menuBar();
    statusItem_->setLabel(toQString(menuBar.statusItemSymbol()),
                          toQString(menuBar.statusItemAccessibilityText()));
}

UserInterface::PanelStyle VeltoApplication::panelStyle() const {
    const bool isProgramInTaskBar = policy_ == ApplicationHost::ActivationPolicy::regular;
    return statusItem_ && !isProgramInTaskBar ? UserInterface::PanelStyle::dropDown
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
    }
}

void VeltoApplication::raise() {
    withWindows(
        [this](UserInterface& windows) { windows.showPanel(statusItem_ ? statusItem_->place() : QRect()); });
}

void VeltoApplication::requestQuit() {
    if (delegate_.applicationShouldTerminate() == AppDelegate::TerminationReply::later) return;
    endWhenDone();
}

/// What the delegate has begun runs in the next turn of the loop, and waits for what may still be under way,
/// such as the clean-up after an earlier run.
void VeltoApplication::endWhenDone() {
    MainActor& actor = delegate_.appState().actor();
    actor.post([this, &actor] {
        if (delegate_.appState().systemAudio().isOperationRunning()) {
            actor.postAfter(operationPoll, [this] { endWhenDone(); });
        } else {
            actor.post([this] { host_.replyToTermination(); });
        }
    });
}

void VeltoApplication::endSession(const WaitUntil& waitUntil) {
    requestQuit();
    if (!waitUntil([this] { return isTerminated_; }))
        LoggingService::ui.error("The session ended before all outputs were put back");
}

void VeltoApplication::endWithoutDisplay(const WaitUntil& waitUntil) {
    host_.setHandlers({.policyChanged = {}, .activate = {}, .terminate = [this] { isTerminated_ = true; }});
    endSession(waitUntil);
}

} // namespace velto
