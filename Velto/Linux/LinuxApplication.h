// LinuxApplication: the program on a desktop where Qt's loop is the program's to end.
//
// Made by who runs Qt's loop, on the stack; main actor only. On a simulated computer too.
#pragma once

#include "Platform/Linux/LinuxApplicationHost.h"
#include "Velto/Qt/VeltoApplication.h"

#include <QObject>

#include <functional>
#include <memory>
#include <string>

namespace velto {

class LinuxApplication : public QObject, public VeltoApplication {
  public:
    /// Answers whether the condition came to hold within the time that it waits at most.
    using WaitUntil = std::function<bool(const std::function<bool()>& condition)>;

    /// The host is the platform's. What is given must outlive the application.
    LinuxApplication(AppDelegate& delegate, LinuxApplicationHost& host,
                     UserInterfaceFactory makeUserInterface, WaitUntil waitUntil);
    ~LinuxApplication() override;

    void requestQuit() override { delegate().quit(); }
    /// For who can't wait for the loop, as when the display is lost: returns when all is put back.
    void endNow();
    /// Whoever ends Qt's loop without asking the program, as the end of the desktop's session does, waits
    /// here until all is put back.
    bool eventFilter(QObject* object, QEvent* event) override;

  private:
    std::unique_ptr<StatusArea> makeStatusArea(std::function<void()> changed) override;
    /// On Wayland no program places its windows.
    bool dropsPanel() const override;
    void volumeWasSet(double volume) override;

    LinuxApplicationHost& host_;
    WaitUntil waitUntil_;
    bool isTerminated_ = false;
};

} // namespace velto
