// VeltoApplication: the program on a Qt desktop: the plain half of it, its status item and its windows.
//
// Owned by the entry point, which gives it the platform; main actor only. The windows are made when something
// is first opened. Where there is no status area, the panel is an ordinary window and opens at the start. The
// status item comes and goes with the desktop's status area.
#pragma once

#include "Velto/Qt/QtApplicationHost.h"
#include "Velto/Qt/StatusArea.h"
#include "Velto/Qt/StatusItem.h"
#include "Velto/Qt/UserInterface.h"
#include "Velto/Shell/AppDelegate.h"
#include "Velto/Shell/PlatformServices.h"
#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Observation/Observable.h"

#include <QObject>
#include <QSessionManager>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace velto {

class VeltoApplication final : public QObject {
    Q_OBJECT

  public:
    /// Tells whether the program may end within the time given, which it waits out at most.
    using WaitUntil = std::function<bool(const std::function<bool()>& condition)>;

    /// The host is the platform's. What is given must outlive the application.
    VeltoApplication(PlatformServices platform, QtApplicationHost& host,
                     UserInterfaceFactory makeUserInterface);
    ~VeltoApplication() override;

    /// Once, when the loop is about to run.
    void start();
    /// The program was started again, or has no status item: its panel, where it can be seen.
    void raise();
    /// The one way to end the program: outputs are put back first.
    void requestQuit();
    /// The desktop's session ends: returns when all is put back.
    void endSession(const WaitUntil& waitUntil);
    /// The same, when the windows and the status item have nothing to be drawn on any more.
    void endWithoutDisplay(const WaitUntil& waitUntil);

    AppDelegate& delegate() { return delegate_; }
    /// Null while the desktop has no status area.
    StatusItem* statusItem() const { return statusItem_.get(); }

  private:
    /// Makes the windows if need be. Throws std::runtime_error when they can't be had.
    UserInterface& userInterface();
    void withWindows(const std::function<void(UserInterface&)>& action);
    void followStatusArea();
    StatusItem::Handlers statusItemHandlers();
    void updateStatusItem();
    void withoutStatusItem();
    void endWhenDone();
    UserInterface::PanelStyle panelStyle() const;
    void applyPanelStyle();

    UserInterfaceFactory makeUserInterface_;
    QtApplicationHost& host_;
    ApplicationHost::ActivationPolicy policy_ = ApplicationHost::ActivationPolicy::accessory;
    bool isTerminated_ = false;
    AppDelegate delegate_;
    Subscription statusSubscription_;
    std::unique_ptr<UserInterface> userInterface_;
    std::optional<StatusArea> statusArea_; // none before the start
    StatusArea::Kind statusItemKind_ = StatusArea::Kind::none;
    std::unique_ptr<StatusItem> statusItem_;
    std::uint32_t statusItemTray_ = 0;                  // the tray that it is in
    std::optional<MainActor::TimerID> statusAreaTimer_; // while a late status area may still come
};

} // namespace velto
