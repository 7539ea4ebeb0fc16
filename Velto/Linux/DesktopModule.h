// The module that puts the program on a desktop: status item, Qt's loop, and the windows' module when one is
// opened. Loaded where there is a display; the program that runs without one has nothing of Qt in it.
#pragma once

#include "Platform/Linux/LinuxApplicationHost.h"
#include "Platform/Linux/LinuxMainActor.h"
#include "Velto/Shell/AppDelegate.h"

#include <functional>

namespace velto {

/// What the desktop is given by the program. All must outlive it.
struct DesktopContext {
    LinuxMainActor& actor;
    LinuxApplicationHost& host;
    AppDelegate& delegate;
    /// Is told how the panel is brought up from now on; nothing when the desktop goes.
    std::function<void(std::function<void()> raise)> raisable;
    /// No window is opened before somebody asks for one.
    bool isHidden;
    /// Somebody has asked for the panel already.
    bool isRaised;
    /// What Qt makes of the program's arguments.
    int& argumentCount;
    char** arguments;
};

} // namespace velto

extern "C" {
/// A sentence that says why there can be no desktop on the display that the environment names; null where
/// there can. To be asked before each of the others, which take the display that it found. What is returned
/// stays until it is asked again.
const char* veltoDesktopObstacle();
/// Whether a desktop can be had there in the end. Where not, Qt ends the process: it is for one that has
/// nothing to lose.
void veltoTryDesktop();
/// Runs the loop until the program ends; answers the exit status.
int veltoRunDesktop(velto::DesktopContext* context);
}
