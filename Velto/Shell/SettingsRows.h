// What the settings window lists: choices of a setting, saved sync profiles, lines of the debug report.
#pragma once

#include <string>
#include <string_view>

namespace velto {

/// One of the values that a setting can have.
struct SettingChoice {
    std::string rawValue;
    std::string title;
    /// Empty where there is nothing to explain.
    std::string helpText = {};

    friend bool operator==(const SettingChoice&, const SettingChoice&) = default;
};

struct SampleRateChoice {
    /// In Hz; 0 for automatic.
    double rawValue = 0;
    std::string title;

    friend bool operator==(const SampleRateChoice&, const SampleRateChoice&) = default;
};

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
