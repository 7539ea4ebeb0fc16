// What the settings window says.
#pragma once

#include <string_view>

namespace velto {

struct SettingText {
    std::string_view label;
    /// What it means, in a sentence or two; empty where the label says it all.
    std::string_view help = {};
};

struct SettingsTexts {
    SettingsTexts() = delete;

    // General
    static constexpr SettingText launchAtLogin{"Launch Velto at Login"};
    static constexpr std::string_view launchAtLoginUnavailable =
        "Available when Velto runs from an app bundle.";
    static constexpr std::string_view launchAtLoginNeedsApproval =
        "Approve Velto in System Settings > General > Login Items.";
    static constexpr SettingText openLoginItems{"Open Login Items"};
    static constexpr SettingText showInDock{"Show Velto in the Dock"};
    static constexpr SettingText rememberSelectedDevices{
        "Remember the last outputs", "Velto fills in the two outputs that played together last."};
    static constexpr SettingText autoConnect{
        "Auto Connect saved setups",
        "A setup with Auto Connect starts by itself once all of its outputs are connected."};
    static constexpr SettingText autoReconnect{"Reconnect automatically",
                                               "Velto plays together again when a lost output comes back."};
    static constexpr SettingText disconnectBehavior{"When an output disconnects"};

    // Audio
    static constexpr SettingText preferredSampleRate{
        "Preferred sample rate",
        "Used when every output supports it. Otherwise Velto picks the best rate they share."};
    static constexpr SettingText clockStrategy{"Clock"};
    static constexpr SettingText aggregateDeviceName{
        "Output name", "What the system calls the combined output while Velto plays."};

    // Sync
    static constexpr SettingText syncEngine{
        "Sync engine",
        "The system multi-output engine keeps device clocks aligned but cannot delay one output against "
        "another. Manual sync arrives with the Velto Sync Engine."};
    static constexpr SettingText rememberSyncProfiles{"Remember sync profiles"};
    static constexpr SettingText defaultReferenceDevice{"Reference output",
                                                        "The output that the others are measured against."};
    static constexpr SettingText syncTest{
        "Sync test", "Plays a click for six seconds, so that you hear whether your outputs are in step."};
    static constexpr SettingText syncTestVolume{"Click volume"};
    static constexpr SettingText syncProfiles{"Saved sync profiles"};

    // Advanced
    static constexpr SettingText resetAudioConfiguration{
        "Reset Audio Configuration",
        "Stops playing together and removes whatever is left of this or an earlier session."};
    static constexpr SettingText copyDebugInfo{"Copy Debug Information"};
};

} // namespace velto
