// Program: the application on the services of Linux, on a desktop or without one.
//
// Made and run by the entry point; main actor only. Without a desktop the main actor's own loop runs; when
// somebody starts the program on a display then, or clicks on a notification of it, the desktop is opened
// around the application as it runs.
#pragma once

#include "Platform/Linux/DesktopNotifications.h"
#include "Platform/Linux/FileUserDefaults.h"
#include "Platform/Linux/IcuTextCollation.h"
#include "Platform/Linux/LinuxApplicationHost.h"
#include "Platform/Linux/LinuxMainActor.h"
#include "Platform/Linux/LogindSleepMonitor.h"
#include "Platform/Linux/PortalShortcuts.h"
#include "Platform/Linux/TerminationSignals.h"
#include "Platform/Linux/XdgAutostart.h"
#include "Platform/POSIX/LineServer.h"
#include "Platform/POSIX/SingleInstance.h"
#include "Velto/Commands/CommandService.h"
#include "Velto/Linux/DesktopModule.h"
#include "Velto/Linux/SecondStart.h"
#include "Velto/Shell/AppDelegate.h"

#include <functional>
#include <map>
#include <optional>
#include <string>

namespace velto {

class Program {
  public:
    struct Options {
        bool hasWindows = true;
        bool isHidden = false;
        int& argumentCount;
        char** arguments;
    };

    /// What is given must outlive the program; all of it was made before any thread.
    Program(Options options, LinuxMainActor& actor, TerminationSignals& signals, SingleInstance& instance);
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    ~Program();

    /// Until it is told to end; answers the exit status. Where the desktop that it was to start on can't be
    /// had, it runs without windows.
    int run();

    /// The part of the environment that tells where a display is.
    static std::map<std::string, std::string> displayEnvironment();
    static bool hasDisplay(const std::map<std::string, std::string>& environment);
    /// A sentence that says why no window can be opened on that display; none where one can. Throws
    /// std::runtime_error.
    static std::optional<std::string> desktopObstacle();

  private:
    using RunDesktop = decltype(&veltoRunDesktop);

    PlatformServices services();
    bool raise(const std::map<std::string, std::string>& environment);
    /// For a click on a notification, while there are no windows.
    void openOnOwnDisplay();
    /// Throws std::runtime_error, with a sentence for the user, where there can be none.
    void loadDesktop();
    bool openDesktop(const std::map<std::string, std::string>& environment);
    int runDesktop();

    Options options_;
    LinuxMainActor& actor_;
    FileUserDefaults defaults_;
    IcuTextCollation collation_;
    XdgAutostart loginItems_;
    LogindSleepMonitor sleep_;
    LinuxApplicationHost host_;
    DesktopNotifications notifications_;
    PortalShortcuts shortcuts_;
    SecondStart secondStart_;
    AppDelegate delegate_;
    CommandService commands_;
    LineServer server_;
    std::function<void()> raisePanel_; // none without windows
    bool isRaised_ = false;            // before there was a panel to bring up
    RunDesktop runDesktop_ = nullptr;  // once there is to be a desktop
};

} // namespace velto
