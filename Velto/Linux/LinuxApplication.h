// LinuxApplication: the program on a desktop where Qt's loop is the program's to end.
//
// Made and owned by the entry point, on the stack; main actor only. On a simulated computer too.
#pragma once

#include "Velto/Qt/QtApplicationHost.h"
#include "Velto/Qt/VeltoApplication.h"

#include <functional>
#include <memory>

namespace velto {

class LinuxApplication final : public VeltoApplication {
  public:
    /// Answers whether the condition came to hold within the time that it waits at most.
    using WaitUntil = std::function<bool(const std::function<bool()>& condition)>;

    /// The host is the platform's. What is given must outlive the application.
    LinuxApplication(PlatformServices platform, QtApplicationHost& host,
                     UserInterfaceFactory makeUserInterface);
    ~LinuxApplication() override;

    void requestQuit() override;
    /// The desktop's session ends: returns when all is put back.
    void endSession(const WaitUntil& waitUntil);
    /// The same, when the windows and the status item have nothing to be drawn on any more.
    void endWithoutDisplay(const WaitUntil& waitUntil);

  private:
    std::unique_ptr<StatusArea> makeStatusArea(std::function<void()> changed) override;
    /// A program in the task bar has a window there.
    bool dropsPanel() const override { return policy_ == ApplicationHost::ActivationPolicy::accessory; }

    QtApplicationHost& host_;
    ApplicationHost::ActivationPolicy policy_ = ApplicationHost::ActivationPolicy::accessory;
    bool isTerminated_ = false;
};

} // namespace velto
