// VeltoApplication: the program on a desktop: its status item and its windows, for the plain half of it.
//
// Made and owned by the entry point, at the start or while the plain half runs already; main actor only. What
// a desktop does in its own way (where items stand, how a program ends) is in the class that a platform
// derives from this one. The windows are made when something is first opened. Where there is no status area,
// the panel is an ordinary window and opens at the start. The status item comes and goes with the desktop's
// status area.
#pragma once

#include "Velto/Qt/StatusItem.h"
#include "Velto/Qt/UserInterface.h"
#include "Velto/Shell/AppDelegate.h"
#include "VeltoCore/Async/MainActor.h"
#include "VeltoCore/Observation/Observable.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velto {

class VeltoApplication {
  public:
    VeltoApplication(const VeltoApplication&) = delete;
    VeltoApplication& operator=(const VeltoApplication&) = delete;
    virtual ~VeltoApplication();

    /// Once, when the loop is about to run. A hidden one opens no window before somebody asks for one; one
    /// that isn't started has no status item either, and starts when it is raised.
    void start(bool isHidden = false);
    /// The program was started again, or has no status item: its panel, where it can be seen.
    void raise();
    /// The same for one that has just been started: once it is clear where the panel belongs.
    void raiseOncePlaced();
    /// The one way to end the program: outputs are put back first.
    virtual void requestQuit() = 0;

    AppDelegate& delegate() { return delegate_; }
    /// Null while the desktop has no status area.
    StatusItem* statusItem() const { return statusItem_.get(); }

  protected:
    /// The delegate must outlive the application.
    VeltoApplication(AppDelegate& delegate, UserInterfaceFactory makeUserInterface);

    /// The handler is to be called, from the main loop, when the item must be made anew.
    virtual std::unique_ptr<StatusArea> makeStatusArea(std::function<void()> changed) = 0;
    /// Whether the panel drops from the status item, when there is one.
    virtual bool dropsPanel() const { return true; }
    /// The wheel over the status item has set it: shown where the desktop has a display of its own for that.
    virtual void volumeWasSet(double) {}

  private:
    /// Makes the windows if need be. Throws std::runtime_error when they can't be had.
    UserInterface& userInterface();
    void offerWindows();
    void withWindows(const std::function<void(UserInterface&)>& action);
    void followStatusArea();
    void makeStatusItem();
    StatusItem::Handlers statusItemHandlers();
    std::vector<StatusMenuEntry> statusItemMenu();
    void scroll(double notches);
    void updateStatusItem();
    void withoutStatusItem();
    void stopWaitingForStatusArea();
    UserInterface::PanelStyle panelStyle() const;
    void applyPanelStyle();

    AppDelegate& delegate_;
    StatusItemViewModel statusItemModel_;
    UserInterfaceFactory makeUserInterface_;
    bool isHidden_ = false;
    bool isToRaise_ = false; // as soon as there is a status item, or it is clear that none comes
    Subscription statusSubscription_;
    std::unique_ptr<UserInterface> userInterface_;
    std::unique_ptr<StatusArea> statusArea_; // none before the start
    std::unique_ptr<StatusItem> statusItem_;
    std::optional<MainActor::TimerID> statusAreaTimer_; // while a late status area may still come
};

} // namespace velto
