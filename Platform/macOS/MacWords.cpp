// Plain C++: its texts are tested on Linux too.
#include "Platform/macOS/MacWords.h"

namespace velto {

namespace {

constexpr PlatformWords::Licence licences[]{
    {"Velto", "MIT"},
    {"Qt 6", "LGPL 3"},
    {"{fmt}", "MIT"},
    {"JSON for Modern C++", "MIT"},
    {"CLI11", "BSD 3-Clause"},
    {"Eigen", "MPL 2.0"},
    {"Material Symbols", "Apache 2.0"},
};

constexpr PlatformWords words{
    .statusArea = "menu bar",
    .computer = "Mac",
    .builtInOutput = "The Mac's built-in output",
    .system = "macOS",
    .audioService = "Core Audio",
    .systemTitle = "macOS",
    .soundSettings = "System Settings > Sound",
    .privacySettings = "System Settings > Privacy & Security",
    .loginNeedsInstallation = "Available when Velto runs from an app bundle.",
    .dockSwitch = "Show Velto in the Dock",
    .licences = licences,
};

} // namespace

const PlatformWords& macWords() noexcept { return words; }

} // namespace velto
