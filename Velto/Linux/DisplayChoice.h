// DisplayChoice: on which display the windows are opened, and why there may be none to open them on.
//
// Made before Qt is: where Qt itself finds none it ends the program. X11 comes first where a server answers,
// on Wayland desktops too: only there the panel can stand at the status item.
#pragma once

#include <QByteArray>

#include <string>

namespace velto {

struct DisplayChoice {
    /// What Qt is to be told; empty where the user has told it already.
    QByteArray platform;
    /// How many times as large as Qt would have it the desktop draws what is on that display.
    int scale = 1;
    /// A sentence for the user; empty where windows can be opened.
    std::string obstacle;

    /// By the program's environment.
    static DisplayChoice make();
    /// The same with Qt's parts in a given folder.
    static DisplayChoice make(const std::string& platformFolder);
};

} // namespace velto
