// MacApplication: the program on a Mac, where the system's own application object ends it.
//
// Made and owned by the entry point; main actor only. The application object ends the process where it
// stands: no destructor runs then, and all that must be put back is, before the reply.
#pragma once

#include "Platform/macOS/TerminationDelegate.h"
#include "Velto/Qt/VeltoApplication.h"

#include <functional>
#include <memory>

namespace velto {

class MacApplication final : public VeltoApplication {
  public:
    /// What is given must outlive the application.
    MacApplication(AppDelegate& delegate, TerminationDelegate& termination,
                   UserInterfaceFactory makeUserInterface);
    ~MacApplication() override;

    void requestQuit() override;

  private:
    std::unique_ptr<StatusArea> makeStatusArea(std::function<void()> changed) override;
    TerminationDelegate::Reply shouldTerminate();

    TerminationDelegate& termination_;
};

} // namespace velto
