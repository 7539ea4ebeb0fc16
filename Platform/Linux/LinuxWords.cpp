#include "Platform/Linux/LinuxWords.h"

namespace velto {

namespace {

constexpr PlatformWords::Licence licences[]{
    {"Velto", "MIT"},
    {"Qt 6", "LGPL 3"},
    {"PipeWire", "MIT"},
    {"{fmt}", "MIT"},
    {"JSON for Modern C++", "MIT"},
    {"CLI11", "BSD 3-Clause"},
    {"Eigen", "MPL 2.0"},
    {"ICU", "Unicode Licence"},
    {"libuuid", "BSD 3-Clause"},
    {"libsystemd", "LGPL 2.1"},
    {"libxcb", "MIT"},
    {"Material Symbols", "Apache 2.0"},
    {"Inter", "SIL Open Font Licence 1.1"},
};

constexpr PlatformWords words{
    .statusArea = "system tray",
    .computer = "The computer",
    .builtInOutput = "The computer's built-in output",
    .system = "The session manager",
    .audioService = "PipeWire",
    .systemTitle = "Operating System",
    .soundSettings = "Sound settings",
    .privacySettings = "what programs may do in the system's settings",
    .loginNeedsInstallation = "Available once Velto is installed.",
    .dockSwitch = "",
    .licences = licences,
};

} // namespace

const PlatformWords& linuxWords() noexcept { return words; }

} // namespace velto
