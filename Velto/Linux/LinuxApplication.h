// LinuxApplication: the program on a desktop where Qt's loop is the program's to end.
//
// Made by who runs Qt's loop, on the stack; main actor only. On a simulated computer too.
#pragma once

#include "Platform/Linux/LinuxApplicationHost.h"
#include "Velto/Qt/VeltoApplication.h"

#include <functional>
#include <memory>

namespace velto {

class LinuxApplication final : public VeltoApplication {
  public:
    /// Answers whether the condition came to hold within the time that it waits at most.
    using WaitUntil = std::function<bool(const std::function<bool()>& condition)>;

    /// The host is the platform's. What is given must outlive the application.
    LinuxApplication(AppDelegate& delegate, LinuxApplicationHost& host,
                     UserInterfaceFactory makeUserInterface);
    ~LinuxApplication() override;

    void requestQuit() override { delegate().quit(); }
    /// The desktop's session ends: returns when all is put back.
    void endSession(const WaitUntil& waitUntil);
    /// The same, when the windows and the status item have nothing to be drawn on any more.
    void endWithoutDisplay(const WaitUntil& waitUntil);

  private:
    std::unique_ptr<StatusArea> makeStatusArea(std::function<void()> changed) override;
    /// A program in the task bar has a window there.
    bool dropsPanel() const override {
        return host_.activationPolicy() == ApplicationHost::ActivationPolicy::accessory;
    }

    LinuxApplicationHost& host_;
    bool isTerminated_ = false;
};

} // namespace velto
