// What the settings window lists besides the settings: saved sync profiles, lines of the debug report.
#pragma once

#include <string>

namespace velto {

struct SyncProfileRow {
    std::string id;
    /// The outputs' names, such as "AirPods + Desk".
    std::string names;
    /// The largest correction and how it is known, such as "21 ms measured".
    std::string summary;

    friend bool operator==(const SyncProfileRow&, const SyncProfileRow&) = default;
};

struct DebugRow {
    std::string title;
    std::string value;

    const std::string& id() const noexcept { return title; }
    friend bool operator==(const DebugRow&, const DebugRow&) = default;
};

} // namespace velto
