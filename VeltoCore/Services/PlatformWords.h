// PlatformWords: what things are called where the program runs, in the texts that people read.
//
// One constant a platform; the desktop (ApplicationHost) tells which. Texts that name nothing of a platform
// stand where they are shown, and are the same everywhere.
#pragma once

#include <span>
#include <string_view>

namespace velto {

struct PlatformWords {
    struct Licence {
        std::string_view name;
        std::string_view licence;
    };

    /// Where status items stand: "Velto lives in the …".
    std::string_view statusArea;
    /// As a sentence begins: "… is going to sleep".
    std::string_view computer;
    std::string_view builtInOutput;
    /// As a sentence begins: "… routed output to a reconnected device".
    std::string_view system;
    /// What reports the errors of the audio hardware: "… reported an error".
    std::string_view audioService;
    /// What the version of the system is listed under.
    std::string_view systemTitle;
    /// Where an output is picked by hand: "… in …."
    std::string_view soundSettings;
    /// Where a program is allowed what it may do: "Check ….".
    std::string_view privacySettings;
    /// Why the program can't be started at login from where it is.
    std::string_view loginNeedsInstallation;
    /// The switch by which the program is shown among those that are open; empty where there is no such
    /// place.
    std::string_view dockSwitch;
    /// Of what the program comes with here.
    std::span<const Licence> licences;
};

} // namespace velto
